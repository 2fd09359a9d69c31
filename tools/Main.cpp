// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "Dispatch.h"

#include <clocale>

int main(int argc, char** argv)
{
    (void)std::setlocale(LC_CTYPE, ""); // names are drawn in the characters of the user's terminal
    Tool::Session session;
    const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    return static_cast<int>(Tool::Dispatch(words, session, ""));
}
