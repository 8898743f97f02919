// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_DIGESTLOGIN_H
#define COMMUNICATOR_HTTP_DIGESTLOGIN_H

#include <QByteArray>
#include <QString>

#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

/// The digest login (RFC 7616) to one device: its latest challenge, and the answers to it. May be used from
/// any thread.
class DigestLogin
{
public:
    DigestLogin(const QString& user, const QString& password);

    /// The value of `Authorization` for a request; empty before the first challenge.
    QByteArray authorization(const QByteArray& method, const QByteArray& target);

    /// Reads the `WWW-Authenticate` value of a 401 reply to a request that was sent with @p authorization. @p
    /// again means that the exchange has already answered a challenge, so that a new nonce alone does not
    /// justify another attempt.
    /// @return whether another answer may be accepted; `false` if the device refused the user or password, or
    /// requires something unsupported.
    bool takeChallenge(const QString& challenges, const QByteArray& authorization, bool again = false);

private:
    struct Challenge
    {
        QByteArray realm;
        QByteArray nonce;
        QByteArray opaque;
        QByteArray algorithm; ///< as the device spelt it; empty for MD5
        bool hasOpaque = false;
        bool hasQop = false;
        bool hashesUser = false;
        bool stale = false;
    };
    static bool parse(const QString& challenges, Challenge& best);

    const QByteArray m_user;
    const QByteArray m_password;
    std::mutex m_mutex;                           ///< guards all below
    std::shared_ptr<const Challenge> m_challenge; ///< null before the first one
    unsigned m_count = 0;                         ///< number of answers with this nonce
};

} // namespace Krelm::Communicator::HttpDevice

#endif
