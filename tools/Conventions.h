// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <span>

namespace Tool
{

/// A row of a section of the help: a term and what it means, or a paragraph.
struct HelpRow
{
    const char* pszTerm; ///< empty for a paragraph
    const char* pszText;
};

/// What holds for every command. The help and the manual page are both written from it.
struct HelpSection
{
    const char* pszTitle;
    std::span<const HelpRow> rows;
};
std::span<const HelpSection> Conventions();

inline constexpr const char* Purpose = "looks into SharedStore's data stores, its PIN cache and its registry, and drives them";
inline constexpr const char* OverviewExamples =
    "  sharedstore store add Cards\n"
    "  printf 'data set Cards Card1 label --string \"Staff card\"\\ntree Cards\\n' | sharedstore run -\n";

} // namespace Tool
