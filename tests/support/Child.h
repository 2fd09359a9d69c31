// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <sys/wait.h>
#include <unistd.h>

/// Starts a child that runs a function and exits with its result. A child that hangs is killed.
template <class Function> pid_t StartChild(Function function)
{
    constexpr unsigned int MaxSeconds = 60;
    const pid_t nChild = fork();
    if (nChild == 0) {
        alarm(MaxSeconds);
        _exit(function());
    }
    return nChild;
}

/// A child's exit code; minus the number of the signal that killed it.
inline int WaitForChild(pid_t nChild)
{
    int nStatus = 0;
    while (waitpid(nChild, &nStatus, 0) < 0) {
    }
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
}

/// Runs a function in a child to its end.
/// @return as WaitForChild
template <class Function> int RunInChild(Function function)
{
    return WaitForChild(StartChild(function));
}
