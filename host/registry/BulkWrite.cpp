// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "registry/Inspection.h"
#include "registry/Operation.h"

#include <algorithm>

namespace Registry
{

namespace
{

bool IsValid(const SNewValue& value)
{
    return CKeyPath(value.pszHive, value.pszSubKey).IsValid() && (value.pszName == nullptr || IsValueName(value.pszName)) &&
           value.sData.size() <= MaxValueSize;
}

} // namespace

long WriteValues(std::span<const SNewValue> values) noexcept
{
    return Run(std::ranges::all_of(values, IsValid), [&](CDatabase& database) {
        return database.Write(EWhenMissing::Create, [&](CTransaction& transaction) -> long {
            for (const SNewValue& value : values) {
                SKey key;
                CreateKey(transaction, CKeyPath(value.pszHive, value.pszSubKey), key);
                if (value.pszName != nullptr) {
                    transaction.SetValue(key.uId, value.pszName, value.ulType, value.sData);
                }
            }
            return ERROR_SUCCESS;
        });
    });
}

} // namespace Registry
