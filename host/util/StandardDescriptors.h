// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <fcntl.h>
#include <unistd.h>

/// While it lives, files that this thread opens get no descriptor below 3.
///
/// A process may have closed its standard descriptors. A file of ours that took such a number would
/// get what the process later prints or logs. The numbers that are free are taken by descriptors
/// that can be neither read nor written, as if they were still closed, and given back at the end.
/// Thread safety: two of them in different threads don't see each other; the first to end gives back
/// numbers that the other one counts on.
class CStandardDescriptorsTaken
{
public:
    CStandardDescriptorsTaken()
    {
        int nLowest = Take();
        for (; nLowest >= 0 && nLowest <= STDERR_FILENO; nLowest = Take()) {
            m_aTaken[nLowest] = true;
        }
        if (nLowest >= 0) {
            close(nLowest);
        }
    }
    CStandardDescriptorsTaken(const CStandardDescriptorsTaken&) = delete;
    CStandardDescriptorsTaken& operator=(const CStandardDescriptorsTaken&) = delete;
    ~CStandardDescriptorsTaken()
    {
        for (int nDescriptor = STDIN_FILENO; nDescriptor <= STDERR_FILENO; ++nDescriptor) {
            if (m_aTaken[nDescriptor]) {
                close(nDescriptor);
            }
        }
    }

private:
    /// Takes the lowest free number. No device is needed, which a chroot may lack.
    static int Take() { return open("/", O_PATH | O_CLOEXEC); }

    bool m_aTaken[STDERR_FILENO + 1] = {};
};
