// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_DIGESTLOGIN_H
#define COMMUNICATOR_HTTP_DIGESTLOGIN_H

#include <QByteArray>
#include <QString>

#include <mutex>

namespace Krelm::Communicator::HttpDevice {

/// The digest login (RFC 7616) to one device: what it asked for last, and the answers to that. May be used
/// from any thread.
class DigestLogin
{
public:
    DigestLogin(const QString& user, const QString& password);

    /// The value of `Authorization` for a request; empty as long as the device has asked for nothing.
    QByteArray authorization(const QByteArray& method, const QByteArray& target);

    /// Takes the value of `WWW-Authenticate` of a 401 that answered a request with @p authorization. @return
    /// whether a new answer may be accepted: not when the device refused the user or password, or asks for
    /// what is not known here. @p again: the same exchange has answered a challenge before, so that
    /// a new nonce alone is no reason for this one.
    bool takeChallenge(const QString& challenges, const QByteArray& authorization, bool again = false);

private:
    struct Challenge
    {
        QByteArray realm;
        QByteArray nonce;
        QByteArray opaque;
        QByteArray algorithm; ///< as the device spelled it; empty: MD5
        bool hasOpaque = false;
        bool hasQop = false;
        bool hashesUser = false;
        bool stale = false;
    };
    static bool parse(const QString& challenges, Challenge& best);

    const QByteArray m_user;
    const QByteArray m_password;
    std::mutex m_mutex; ///< guards all below
    Challenge m_challenge;
    bool m_isKnown = false;
    unsigned m_count = 0; ///< of answers with this nonce
};

} // namespace Krelm::Communicator::HttpDevice

#endif
