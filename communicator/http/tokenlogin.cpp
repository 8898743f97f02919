// SPDX-License-Identifier: MIT
#include "communicator/http/tokenlogin.h"

#include "communicator/http/requesthead.h"
#include "communicator/runtime/backgroundthread.h"
#include "communicator/runtime/lifecycle.h"
#include "communicator/runtime/logging.h"

#include <utility>

namespace Krelm::Communicator::HttpDevice {

namespace {

thread_local const QString* renewedHere = nullptr;

QByteArray headerOf(const QString& token)
{
    return "Bearer " + token.toUtf8();
}

} // namespace

TokenLogin::TokenLogin(QString deviceKey, QString token, Renew renew, const RenewalTimings& timings)
    : m_deviceKey(std::move(deviceKey))
    , m_renew(std::move(renew))
    , m_timings(timings)
    , m_token(std::move(token))
{}

QByteArray TokenLogin::authorization() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return headerOf(m_token);
}

void TokenLogin::Ticket::reset()
{
    if (const std::shared_ptr<TokenLogin> login = std::exchange(m_login, nullptr)) {
        const std::lock_guard<std::mutex> lock(login->m_mutex);
        login->m_waiting.remove_if([this](const Waiting& one) { return one.ticket == this; });
    }
}

bool TokenLogin::isRenewingHere(const QString& deviceKey)
{
    return renewedHere != nullptr && *renewedHere == deviceKey;
}

TokenLogin::Verdict TokenLogin::refused(const QByteArray& authorization, Ticket& ticket, Waiter waiter,
                                        bool untilRenewed)
{
    ticket.reset();
    Error error = nullptr;
    std::unique_lock<std::mutex> lock(m_mutex);
    if (authorization != headerOf(m_token)) {
        return Verdict::Renewed;
    }
    if (!m_call && std::exchange(m_isFresh, false)) {
        error = "the device refuses the new token as well";
        fail();
    }
    const bool waits = begin(error);
    if (waits || untilRenewed) {
        ticket.m_login = shared_from_this();
        m_waiting.push_back({&ticket, untilRenewed, std::move(waiter)});
    }
    lock.unlock();
    log(error);
    return waits ? Verdict::Waiting : Verdict::Refused;
}

/// Has the function called, unless it is running. With m_mutex held.
/// @return whether its result is to be awaited.
bool TokenLogin::begin(Error& error)
{
    if (m_call) {
        return m_call->isAwaited;
    }
    if (Lifecycle::isClosed() || std::chrono::steady_clock::now() < m_heldOffUntil) {
        return false;
    }
    m_call = std::make_shared<Call>();
    if (!runInBackground([self = shared_from_this()] { self->callFunction(); })) {
        m_call = nullptr;
        error = "the system has no thread for the function that renews it";
        fail();
        return false;
    }
    // Without a thread for this, requests wait until their own limits.
    runInBackground([self = shared_from_this(), call = m_call] { self->supervise(call); });
    return true;
}

void TokenLogin::callFunction()
{
    renewedHere = &m_deviceKey;
    QString token;
    Error error = nullptr;
    try {
        token = m_renew(m_deviceKey);
    } catch (...) {
        error = "the function that renews it threw an exception"; // whose text may tell a secret
    }
    renewedHere = nullptr;
    error = ended(token, error);
    if (error == nullptr && !Lifecycle::isClosed()) {
        qCInfo(httpLog, "device %s: the login was renewed", qPrintable(printableKey(m_deviceKey)));
    }
    log(error);
}

TokenLogin::Error TokenLogin::ended(const QString& token, Error error)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_call = nullptr;
    m_returned.notify_all();
    if (error == nullptr) {
        error = token.isEmpty()          ? "the function that renews it gave no token"
                : token == m_token       ? "the function that renews it gave the same token"
                : hasAsciiControl(token) ? "the new token contains a control character"
                                         : nullptr;
    }
    if (error != nullptr) {
        fail();
        return error;
    }
    m_token = token;
    m_isFresh = true;
    m_heldOffUntil = {};
    tellWaiting(true);
    return nullptr;
}

// A function that takes too long goes on, and its token is used once it comes; but nobody waits for it.
void TokenLogin::supervise(const std::shared_ptr<Call>& call)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool hasReturned =
        m_returned.wait_for(lock, m_timings.limit, [this, &call] { return m_call != call; });
    if (!hasReturned) {
        call->isAwaited = false;
        fail();
        lock.unlock();
        log("the function that renews it takes too long");
    }
}

// With m_mutex held.
void TokenLogin::fail()
{
    m_heldOffUntil = std::chrono::steady_clock::now() + m_timings.holdOff;
    tellWaiting(false);
}

// Without m_mutex: the application sees log messages.
void TokenLogin::log(Error error) const
{
    if (error != nullptr && !Lifecycle::isClosed()) {
        qCWarning(httpLog, "device %s: the login was not renewed: %s", qPrintable(printableKey(m_deviceKey)),
                  error);
    }
}

// With m_mutex held.
void TokenLogin::tellWaiting(bool renewed)
{
    for (auto one = m_waiting.begin(); one != m_waiting.end();) {
        if (one->untilRenewed && !renewed) {
            ++one;
            continue;
        }
        one->call(renewed);
        one = m_waiting.erase(one);
    }
}

void TokenLogin::accepted(const QByteArray& authorization)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isFresh && authorization == headerOf(m_token)) {
        m_isFresh = false;
    }
}

} // namespace Krelm::Communicator::HttpDevice
