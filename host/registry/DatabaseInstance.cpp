// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/Database.h"

#include <atomic>
#include <memory>
#include <pthread.h>

namespace Registry
{

namespace
{

std::atomic<CDatabase*> g_pDatabase = nullptr;

} // namespace

/// Makes the object of this process, gives a forked child another one, and deletes it at unload.
class CInstance
{
public:
    CInstance() noexcept { pthread_atfork(nullptr, nullptr, &Abandon); }
    ~CInstance() { delete g_pDatabase.exchange(nullptr); }

    static CDatabase& Get()
    {
        CDatabase* pDatabase = g_pDatabase.load(std::memory_order_acquire);
        if (pDatabase == nullptr) {
            std::unique_ptr<CDatabase> pNew(new CDatabase);
            pNew->m_pInherited = s_pAbandoned;
            if (g_pDatabase.compare_exchange_strong(pDatabase, pNew.get())) {
                pDatabase = pNew.release();
            }
        }
        return *pDatabase;
    }

private:
    static void Abandon()
    {
        if (CDatabase* pInherited = g_pDatabase.exchange(nullptr)) {
            s_pAbandoned = pInherited;
        }
    }

    static inline CDatabase* s_pAbandoned = nullptr;
};

namespace
{

CInstance g_Instance;

} // namespace

CDatabase& CDatabase::Instance()
{
    return CInstance::Get();
}

} // namespace Registry
