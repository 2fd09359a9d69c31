// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#include "support/RegistryFile.h"

#include "registry/Location.h"
#include "support/Failure.h"
#include "support/Registry.h"
#include "support/Text.h"

namespace Tool
{

namespace
{

std::string Where()
{
    return "registry " + Display(Registry::RegistryFolder().string());
}

CFailure NoRegistry()
{
    return {ExitCode::NotFound, Where() + ": there is none; nothing was written yet"};
}

CFailure FailureOf(long lCode, const std::string& sWhat, const std::string& sReason)
{
    return RegistryFailure(lCode, sReason.empty() ? sWhat : sWhat + ": " + sReason);
}

} // namespace

Registry::SInspection InspectRegistry()
{
    Registry::SInspection inspection;
    std::string sReason;
    if (const long lCode = Registry::InspectRegistry(inspection, sReason); lCode != ERROR_SUCCESS) {
        throw FailureOf(lCode, Where(), sReason);
    }
    return inspection.bExists ? inspection : throw NoRegistry();
}

std::uint64_t RegistryState()
{
    std::uint64_t uState = 0;
    const long lCode = Registry::ReadRegistryState(uState);
    return lCode == ERROR_SUCCESS ? uState : throw FailureOf(lCode, Where(), "");
}

Registry::SPageCounts BackUpRegistry(const std::string& sFolder)
{
    Registry::SPageCounts counts;
    std::string sReason;
    switch (const long lCode = Registry::BackUpRegistry(sFolder, counts, sReason); lCode) {
    case ERROR_SUCCESS:
        return counts;
    case ERROR_FILE_NOT_FOUND:
        throw sReason.empty() ? NoRegistry() : FailureOf(lCode, Display(sFolder), sReason);
    case Registry::ERROR_ALREADY_EXISTS:
        throw CFailure(ExitCode::Exists, Display(sFolder) + ": " + sReason + "; a backup never replaces anything");
    default:
        throw FailureOf(lCode, Display(sFolder), sReason);
    }
}

} // namespace Tool
