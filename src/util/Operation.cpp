// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "util/Operation.h"

#include "platform/Framework.h"

#include <cstring>
#include <exception>
#include <memory>
#include <new>

using OV::Framework::IException;

const char* COperation::Method() const
{
    const char* pszColon = std::strrchr(m_pszName, ':');
    return pszColon == nullptr ? m_pszName : pszColon + 1;
}

HRESULT ResultOfException(const COperation& op) noexcept
{
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return op.Fail(E_OUTOFMEMORY, "out of memory");
    } catch (IException* pException) {
        const std::unique_ptr<IException> pOwned(pException);
        pvlogLog(LogComponent, LogError, "%s platform exception %u", op.Name(), pOwned->GetErrorCode());
        return E_FAIL;
    } catch (const std::exception& exception) {
        return op.Fail(E_FAIL, exception.what());
    } catch (...) {
        return op.Fail(E_FAIL, "unknown exception");
    }
}
