// SharedStore - PIN and card data cache
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace OV::AuthStore
{

/// Where an auth store keeps its PINs. Any other value is a store in memory, whose values are encrypted
/// with the persistent key.
enum AuthType : int {
    AuthTypeMemory = 0,   ///< in the memory of the process; encrypted with a key that dies with it
    AuthTypeRegistry = 1, ///< in the registry; encrypted with the key of the key file
};

/// What a caller may do with a PIN.
enum PINState : int {
    PINStateNotCached = 0, ///< nothing without asking the user
    PINStateCached = 1,    ///< use the cached PIN
    PINStateConfirm = 2,   ///< use the cached PIN once the user has confirmed
};

} // namespace OV::AuthStore

/// Who shares a cached PIN: the policy value "AllowPerProcess".
enum PinCachingMode : int {
    PinCachingPerProcess = 0, ///< 1: only the process that stored it
    PinCachingPerSession = 1, ///< anything else: every process of the login session
};

/// What happens for a key that demands its PIN on every use: the policy value
/// "EnablePINCacheForPINAlwaysPrivateKeys".
enum PinAlwaysCachingMode : int {
    PinAlwaysPINPrompt = 0,          ///< anything but 1: the user types the PIN
    PinAlwaysConfirmationPrompt = 1, ///< 1: the user confirms the use of the cached PIN
};
