// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_LOGINSCHEME_H
#define COMMUNICATOR_LOGINSCHEME_H

#include <communicator/deviceendpoint.h>

#include <array>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// A way to log in to a device and what it needs. `DeviceEndpoint::Login::None` is not one.
struct LoginScheme
{
    DeviceEndpoint::Login login; ///< as an endpoint names it
    const char* name;       ///< on command lines, in messages and in documents; also that of the HTTP scheme
    bool takesUser;         ///< logs in with a user and a password, otherwise with a token alone
    bool takesColonInUser;  ///< whether the user name may contain ':'
    bool needsSecret;       ///< an empty secret cannot be sent
    bool answersAChallenge; ///< goes out only after the device asked for it
};

inline constexpr std::array loginSchemes{
    // RFC 7617, 2: the first colon ends the user name.
    LoginScheme{DeviceEndpoint::Login::Basic, "basic", true, false, false, false},
    LoginScheme{DeviceEndpoint::Login::Digest, "digest", true, true, false, true},
    LoginScheme{DeviceEndpoint::Login::Bearer, "bearer", false, true, true, false},
};

/// Null for DeviceEndpoint::Login::None, and for a value that is no enumerator.
constexpr const LoginScheme* loginScheme(DeviceEndpoint::Login login)
{
    // Without a default, so that the compiler tells of an enumerator that is missing here, and by
    // std::get, so that it tells of a row that is missing there.
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

/// Null for a name that no scheme has; the comparison is exact.
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
