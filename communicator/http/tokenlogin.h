// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_TOKENLOGIN_H
#define COMMUNICATOR_HTTP_TOKENLOGIN_H

#include <QByteArray>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

/// The time limits of renewing a token.
struct RenewalTimings
{
    /// How long requests wait for the application's function.
    std::chrono::milliseconds limit{30000};
    /// For how long nothing is renewed after a failure.
    std::chrono::milliseconds holdOff{5000};
};

/// The token that logs in to one device, and its renewal by a function of the application. The function runs
/// on a thread of its own, one call at a time, for all requests that were refused. May be used from any
/// thread.
class TokenLogin : public std::enable_shared_from_this<TokenLogin>
{
public:
    using Renew = std::function<QString(const QString& deviceKey)>;
    /// Told whether there is a new token. Called with a lock held, so it must only pass it on.
    using Waiter = std::function<void(bool renewed)>;

    TokenLogin(QString deviceKey, QString token, Renew renew, const RenewalTimings& timings = {});

    /// The value of `Authorization`.
    QByteArray authorization() const;

    /// A request that waits for the renewal; when it is destroyed, its waiter is not called any more.
    class Ticket
    {
    public:
        Ticket() = default;
        ~Ticket() { reset(); }
        void reset();
        explicit operator bool() const { return m_login != nullptr; }

    private:
        friend class TokenLogin;
        std::shared_ptr<TokenLogin> m_login;
        Q_DISABLE_COPY_MOVE(Ticket)
    };

    enum class Verdict {
        Refused, ///< the refusal is final
        Renewed, ///< there is another token already
        Waiting  ///< the waiter is called, on another thread, within the time limit
    };
    /// What to do after a request with @p authorization was refused. Only @p ticket keeps @p waiter. With @p
    /// untilRenewed the waiter is kept after any verdict but `Renewed`, and is called for a success only.
    Verdict refused(const QByteArray& authorization, Ticket& ticket, Waiter waiter,
                    bool untilRenewed = false);
    /// The device took a request with @p authorization.
    void accepted(const QByteArray& authorization);

    /// Whether the calling thread runs the function of a device with @p deviceKey: what it sends there must
    /// not wait for its own end.
    static bool isRenewingHere(const QString& deviceKey);

private:
    struct Waiting
    {
        const Ticket* ticket;
        bool untilRenewed;
        Waiter call;
    };
    /// A call of the function.
    struct Call
    {
        bool isAwaited = true; ///< it has not exceeded its time
    };

    /// Why a renewal failed; null if it did not.
    using Error = const char*;

    bool begin(Error& error);
    void callFunction();
    Error ended(const QString& token, Error error);
    void supervise(const std::shared_ptr<Call>& call);
    void fail();
    void tellWaiting(bool renewed);
    void log(Error error) const;

    const QString m_deviceKey;
    const Renew m_renew;
    const RenewalTimings m_timings;
    mutable std::mutex m_mutex; ///< guards all below
    std::condition_variable m_returned;
    QString m_token;
    bool m_isFresh = false;       ///< it was renewed, and the device has not taken it yet
    std::shared_ptr<Call> m_call; ///< null while the function is not running
    std::chrono::steady_clock::time_point m_heldOffUntil{};
    std::list<Waiting> m_waiting;
    Q_DISABLE_COPY_MOVE(TokenLogin)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
