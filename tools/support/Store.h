// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Command.h"
#include "support/Com.h"
#include "support/StoreConfig.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

inline constexpr std::string_view WholeStore = "/"; ///< the path above all compartments

struct CompartmentStatus
{
    bool bCached = false;
    unsigned long ulCompartmentVersion = 0;
    unsigned long ulContentVersion = 0;
};

const char* NameOfStoreType(OV::DataStore::Type type); ///< "memory" or "registry"

/// Identifiers of the stores of this process, in byte order.
std::vector<std::string> RegisteredStores(Session& session);

/// @return how a store was registered; nothing when this process has no such store
std::optional<StoreSettings> FindStore(Session& session, const std::string& sStore);

/// One store of this process, with texts for strings and CFailure for codes. An operation that
/// changes a memory store warns when the store will be gone right after the command.
class CStore
{
public:
    /// Throws CFailure when this process has no such store: ExitCode::NotFound, or ExitCode::Failed
    /// for one that is configured.
    CStore(Session& session, const std::string& sStore);

    const std::string& Id() const { return m_sId; }
    const StoreSettings& Settings() const { return m_Settings; }

    void CreateCompartment(const std::string& sPath);
    void TouchCompartment(const std::string& sPath);
    void RemoveCompartment(const std::string& sPath, bool bForgetVersions);
    CompartmentStatus Status(const std::string& sPath);
    std::vector<std::string> Compartments(const std::string& sPath); ///< names; the compartment must exist
    std::vector<std::string> Items(const std::string& sPath);        ///< the compartment must exist
    void Set(const std::string& sPath, const std::string& sItem, SAFEARRAY* psaValue);
    ArrayPtr Get(const std::string& sPath, const std::string& sItem);
    void Remove(const std::string& sPath, const std::string& sItem);
    void Flush();

private:
    void Check(HRESULT hr, const std::string& sNotFoundAdvice = {}) const;
    void RequireCompartment(const std::string& sPath);
    bool Holds(const std::string& sPath, const std::string& sItem);
    void WarnWhenLost() const;
    std::string ItemAdvice(const std::string& sPath) const;

    Session& m_Session;
    std::string m_sId;
    BstrPtr m_bstrId;
    StoreSettings m_Settings;
};

} // namespace Tool
