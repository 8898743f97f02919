// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_LOGINGATE_H
#define SIMULATOR_DEVICE_LOGINGATE_H

#include <simulator/options.h>

#include <bitset>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// Decides whether a request is logged in. May be used from any thread.
class LoginGate
{
public:
    /// What becomes of a request.
    struct Verdict
    {
        bool mayPass = false;
        std::vector<std::string> challenges; ///< for WWW-Authenticate when it may not
        std::string message;                 ///< and for a person to read
    };

    explicit LoginGate(const Options& options);

    bool isOpen() const { return m_login == Login::None; }
    bool takesTokens() const { return m_login == Login::Bearer; }
    /// Judges a request by its method, target and `Authorization`.
    Verdict judge(std::string_view method, std::string_view target, std::string_view authorization);

    /// Replaces the token by @p token, or by a random one if that is empty; its life begins. @return the
    /// token.
    std::string replaceToken(std::string_view token);
    /// Ends the life of the token.
    void expireToken();
    /// The milliseconds that the token still has; 0 when it has expired, -1 when it has no end.
    std::int64_t tokenLeft() const;
    /// Forgets all nonces of Digest.
    void forgetNonces();

private:
    using Clock = std::chrono::steady_clock;
    using Counts = std::bitset<1024>;
    struct Nonce
    {
        Clock::time_point made;
        std::uint32_t latest = 0; ///< the highest count that has come
        Counts seen;              ///< which of the counts up to that have come, the latest first
    };

    Verdict judgeBasic(std::string_view authorization) const;
    Verdict judgeBearer(std::string_view authorization) const;
    Verdict judgeDigest(std::string_view method, std::string_view target, std::string_view authorization);
    Verdict digestChallenge(bool isStale, const char* message);
    bool takeCount(const std::string& nonce, std::uint32_t count);
    bool hasExpired() const;

    const Login m_login;
    const std::string m_user;
    const std::string m_password;
    const std::chrono::milliseconds m_tokenLifetime;
    const std::chrono::milliseconds m_nonceLifetime;
    mutable std::mutex m_mutex; ///< guards all members below
    std::string m_token;
    Clock::time_point m_tokenBegin = Clock::now();
    bool m_isExpired = false;
    std::map<std::string, Nonce, std::less<>> m_nonces;
};

} // namespace Tessel::Simulator

#endif
