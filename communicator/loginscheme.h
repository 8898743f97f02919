// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_LOGINSCHEME_H
#define COMMUNICATOR_LOGINSCHEME_H

#include <communicator/deviceendpoint.h>

#include <array>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// A login scheme and its requirements. `DeviceEndpoint::Login::None` has no entry.
struct LoginScheme
{
    DeviceEndpoint::Login login; ///< as an endpoint names it
    const char* name;            ///< used on command lines, in messages, in documents, and by HTTP (RFC 9110)
    bool takesUser;              ///< whether it needs a user name and a password, rather than a token only
    bool takesColonInUser;       ///< whether the user name may contain ':'
    bool needsSecret;            ///< whether an empty secret is invalid
    bool answersAChallenge;      ///< whether credentials are sent only after a challenge from the device
    bool runsOut;                ///< whether DeviceEndpoint::renewSecret may give another secret
};

inline constexpr std::array loginSchemes{
    // The first colon ends the user name (RFC 7617).
    LoginScheme{DeviceEndpoint::Login::Basic, "basic", true, false, false, false, false},
    LoginScheme{DeviceEndpoint::Login::Digest, "digest", true, true, false, true, false},
    LoginScheme{DeviceEndpoint::Login::Bearer, "bearer", false, true, true, false, true},
};

/// Returns the entry for @p login; null for DeviceEndpoint::Login::None and for a value that is not an
/// enumerator.
constexpr const LoginScheme* loginScheme(DeviceEndpoint::Login login)
{
    // No default label, so that the compiler reports an enumerator missing here, and std::get, so that it
    // reports a missing row.
    switch (login) {
    case DeviceEndpoint::Login::None:
        return nullptr;
    case DeviceEndpoint::Login::Basic:
        return &std::get<0>(loginSchemes);
    case DeviceEndpoint::Login::Digest:
        return &std::get<1>(loginSchemes);
    case DeviceEndpoint::Login::Bearer:
        return &std::get<2>(loginSchemes);
    }
    return nullptr;
}

/// Returns the scheme called @p name, compared exactly, or null if there is none.
constexpr const LoginScheme* loginSchemeNamed(std::string_view name)
{
    for (const LoginScheme& scheme : loginSchemes) {
        if (name == scheme.name) {
            return &scheme;
        }
    }
    return nullptr;
}

} // namespace Krelm::Communicator::HttpDevice

#endif
