// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "platform/Api.h"
#include "platform/Framework.h"

#include <memory>

struct SPINTimerRecord;

/// What the timer of a PIN record calls when it fires: it has the store remove the record.
///
/// Owner: the platform's timer. The store outlives it. Thread safety: called on the timer thread, by one
/// timer.
class SHAREDSTORE_API CTimerCallbackFunction : public OV::Framework::ITimerCallbackFunction
{
public:
    /// @param pRecord what the timer is for
    explicit CTimerCallbackFunction(std::unique_ptr<SPINTimerRecord> pRecord);
    ~CTimerCallbackFunction() override;

    /// @return 1, whether or not the record could be removed; 0 when the store or an identifier is missing
    int InvokeFunction() override;

private:
    const std::unique_ptr<SPINTimerRecord> m_pRecord;
};
