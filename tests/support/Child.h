// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/wait.h>
#include <unistd.h>

/// Runs a function in a forked child and returns the child's exit code, which is the function's
/// result unless it ends the child itself; minus the number of the signal that killed it. A child
/// that hangs is killed.
template <class Function> int RunInChild(Function function)
{
    constexpr unsigned int MaxSeconds = 30;
    const pid_t nChild = fork();
    if (nChild == 0) {
        alarm(MaxSeconds);
        _exit(function());
    }
    int nStatus = 0;
    while (waitpid(nChild, &nStatus, 0) < 0) {
    }
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
}
