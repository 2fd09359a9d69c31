// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "platform/Log.h"

#include "log/LogWriter.h"
#include "util/NeverDestroyed.h"

#include <cerrno>
#include <pthread.h>

namespace
{

constinit CNeverDestroyed<CLogWriter> s_Log;

// Fork handlers that are registered first take their locks last. Any code may log while it holds a
// lock of its own, so these must be the first of the libraries': hence the priority.
[[gnu::constructor(101)]] void RegisterForkHandlers()
{
    pthread_atfork([] { s_Log.Value.Lock(); }, [] { s_Log.Value.Unlock(); }, [] { s_Log.Value.Unlock(); });
}

// With this priority it runs after the last static destructor, which may still log.
[[gnu::destructor(101)]] void CloseLog()
{
    s_Log.Value.Close();
}

/// Keeps a log call from showing: errno stays, and the thread is not cancelled inside it.
class CUnnoticed
{
public:
    CUnnoticed() noexcept { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_nCancelState); }
    ~CUnnoticed()
    {
        pthread_setcancelstate(m_nCancelState, nullptr);
        RestoreErrno();
    }
    CUnnoticed(const CUnnoticed&) = delete;
    CUnnoticed& operator=(const CUnnoticed&) = delete;

    void RestoreErrno() const noexcept { errno = m_nErrno; }

private:
    const int m_nErrno = errno;
    int m_nCancelState = 0;
};

[[gnu::noinline, gnu::format(printf, 3, 0)]] void WriteLine(const char* pszComponent, unsigned int uLevel, const char* pszFormat,
                                                            va_list args) noexcept
{
    const CUnnoticed unnoticed;
    try {
        s_Log.Value.Open();
        if (s_Log.Value.IsOn(uLevel) && pszFormat != nullptr) {
            unnoticed.RestoreErrno(); // for "%m"
            s_Log.Value.Write(pszComponent, uLevel, FormatMessage(pszFormat, args));
        }
    } catch (...) { // the line is lost
    }
}

} // namespace

void pvlogLog(const char* pszComponent, unsigned int uLevel, const char* pszFormat, ...)
{
    if (!s_Log.Value.IsOn(uLevel)) {
        return;
    }
    va_list args;
    va_start(args, pszFormat);
    WriteLine(pszComponent, uLevel, pszFormat, args);
    va_end(args);
}
