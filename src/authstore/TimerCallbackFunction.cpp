// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "authstore/TimerCallbackFunction.h"

#include "authstore/InternalAuthStore.h"
#include "authstore/PINTimerRecord.h"

CTimerCallbackFunction::CTimerCallbackFunction(std::unique_ptr<SPINTimerRecord> pRecord) : m_pRecord(std::move(pRecord)) {}

CTimerCallbackFunction::~CTimerCallbackFunction() = default;

int CTimerCallbackFunction::InvokeFunction()
{
    // First of all: whoever uses the record from here on keeps it.
    const unsigned long ulUses = m_pRecord->pUses->load();
    if (ulUses == DroppedTimer) {
        return 1;
    }
    if (m_pRecord->pStore == nullptr || m_pRecord->CompartmentId.Get() == nullptr || m_pRecord->PINId.Get() == nullptr ||
        m_pRecord->PINSessionId.Get() == nullptr) {
        return 0;
    }
    m_pRecord->pStore->ExpirePIN(*m_pRecord, ulUses);
    return 1;
}
