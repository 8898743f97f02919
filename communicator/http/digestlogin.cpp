// SPDX-License-Identifier: MIT
#include "communicator/http/digestlogin.h"

#include "communicator/http/headername.h"

#include <QCryptographicHash>
#include <QList>
#include <QUuid>
#include <QVector>

#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

namespace Krelm::Communicator::HttpDevice {

namespace {

struct Parameter
{
    QByteArray name; ///< in lower case; a scheme has its own name and an empty value
    QByteArray value;
    bool isScheme = false;
};

// The schemes and parameters of a list of challenges, in order (RFC 9110, "WWW-Authenticate"). Lenient: the
// list ends where it cannot be parsed.
QVector<Parameter> parametersOf(const QByteArray& text)
{
    QVector<Parameter> list;
    int at = 0;
    const auto skip = [&](const char* characters) {
        while (text.constData()[at] != '\0' && strchr(characters, text[at])) { // its end is a zero
            ++at;
        }
    };
    const auto token = [&] {
        const int start = at;
        while (at < text.size() && isTokenCharacter(text[at])) {
            ++at;
        }
        return text.mid(start, at - start);
    };
    // Other schemes may be followed by a text in base64 instead of parameters (RFC 9110, "token68").
    const auto skipText = [&] {
        int end = at;
        while (end < text.size() && (isTokenCharacter(text[end]) || text[end] == '/')) {
            ++end;
        }
        while (end < text.size() && text[end] == '=') {
            ++end;
        }
        if (end == text.size() || text[end] == ',') {
            at = end;
        }
    };
    while (true) {
        skip(" \t,");
        Parameter parameter;
        parameter.name = token().toLower();
        if (parameter.name.isEmpty()) {
            return list;
        }
        skip(" \t");
        if (at < text.size() && text[at] == '=') {
            ++at;
            skip(" \t");
            if (at < text.size() && text[at] == '"') {
                for (++at; at < text.size() && text[at] != '"'; ++at) {
                    if (text[at] == '\\' && at + 1 < text.size()) {
                        ++at;
                    }
                    parameter.value += text[at];
                }
                at += at < text.size() ? 1 : 0; // it may be cut
            } else {
                parameter.value = token();
            }
        } else {
            parameter.isScheme = true;
            skipText();
        }
        list.append(parameter);
    }
}

/// The hash function called @p algorithm; none if it is not supported.
std::optional<QCryptographicHash::Algorithm> hashOf(QByteArray algorithm)
{
    algorithm = algorithm.toLower();
    if (algorithm.isEmpty() || algorithm == "md5" || algorithm == "md5-sess") {
        return QCryptographicHash::Md5;
    }
    if (algorithm == "sha-256" || algorithm == "sha-256-sess") {
        return QCryptographicHash::Sha256;
    }
    return {};
}

QByteArray quoted(QByteArray text)
{
    return '"' + text.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

} // namespace

DigestLogin::DigestLogin(const QString& user, const QString& password)
    : m_user(user.toUtf8())
    , m_password(password.toUtf8())
{}

// The strongest challenge that can be answered; the first among equals.
bool DigestLogin::parse(const QString& challenges, Challenge& best)
{
    const QVector<Parameter> parameters = parametersOf(challenges.toUtf8());
    bool found = false;
    for (auto scheme = parameters.cbegin(); scheme != parameters.cend(); ++scheme) {
        if (!scheme->isScheme || scheme->name != "digest") {
            continue;
        }
        Challenge challenge;
        bool knownQop = true;
        for (auto it = std::next(scheme); it != parameters.cend() && !it->isScheme; ++it) {
            const QByteArray& name = it->name;
            const QByteArray& value = it->value;
            if (name == "realm") {
                challenge.realm = value;
            } else if (name == "nonce") {
                challenge.nonce = value;
            } else if (name == "opaque") {
                challenge.opaque = value;
                challenge.hasOpaque = true;
            } else if (name == "algorithm") {
                challenge.algorithm = value;
            } else if (name == "stale") {
                challenge.stale = value.toLower() == "true";
            } else if (name == "userhash") {
                challenge.hashesUser = value.toLower() == "true";
            } else if (name == "qop") {
                knownQop = false;
                for (const QByteArray& option : value.toLower().split(',')) {
                    knownQop = knownQop || option.trimmed() == "auth";
                }
                challenge.hasQop = knownQop;
            }
        }
        const auto hash = hashOf(challenge.algorithm);
        if (challenge.nonce.isEmpty() || !knownQop || !hash) {
            continue;
        }
        if (!found ||
            (*hash == QCryptographicHash::Sha256 && hashOf(best.algorithm) == QCryptographicHash::Md5)) {
            best = challenge;
            found = true;
        }
    }
    return found;
}

bool DigestLogin::takeChallenge(const QString& challenges, const QByteArray& authorization, bool again)
{
    const auto challenge = std::make_shared<Challenge>();
    if (!parse(challenges, *challenge)) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    // Another request may have received a newer nonce meanwhile, so this is not the device's verdict on the
    // latest answer.
    const bool isNew = !m_challenge || challenge->nonce != m_challenge->nonce;
    const bool answeredThis = m_challenge && authorization.contains("nonce=" + quoted(m_challenge->nonce));
    const bool refused = answeredThis && !challenge->stale && (again || !isNew);
    if (isNew) {
        m_challenge = challenge;
        m_count = 0;
    }
    return !refused;
}

QByteArray DigestLogin::authorization(const QByteArray& method, const QByteArray& target)
{
    std::shared_ptr<const Challenge> shared;
    QByteArray count;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_challenge) {
            return {};
        }
        shared = m_challenge;
        count = QByteArray::number(++m_count, 16).rightJustified(8, '0');
    }
    const Challenge& challenge = *shared;
    const QCryptographicHash::Algorithm algorithm = *hashOf(challenge.algorithm);
    const auto hash = [algorithm](const QByteArray& text) {
        return QCryptographicHash::hash(text, algorithm).toHex();
    };
    const QByteArray client = QUuid::createUuid().toByteArray(QUuid::Id128);
    QByteArray secret = hash(m_user + ':' + challenge.realm + ':' + m_password);
    if (challenge.algorithm.toLower().endsWith("-sess")) {
        secret = hash(secret + ':' + challenge.nonce + ':' + client);
    }
    const QByteArray request = hash(method + ':' + target);
    const QByteArray response =
        challenge.hasQop
            ? hash(secret + ':' + challenge.nonce + ':' + count + ':' + client + ":auth:" + request)
            : hash(secret + ':' + challenge.nonce + ':' + request);

    QByteArray value =
        "Digest username=" + quoted(challenge.hashesUser ? hash(m_user + ':' + challenge.realm) : m_user) +
        ", realm=" + quoted(challenge.realm) + ", nonce=" + quoted(challenge.nonce) +
        ", uri=" + quoted(target) + ", response=\"" + response + '"';
    if (!challenge.algorithm.isEmpty()) {
        value += ", algorithm=" + challenge.algorithm;
    }
    if (challenge.hasOpaque) {
        value += ", opaque=" + quoted(challenge.opaque);
    }
    if (challenge.hasQop || challenge.algorithm.toLower().endsWith("-sess")) {
        value += ", cnonce=\"" + client + '"';
    }
    if (challenge.hasQop) {
        value += ", qop=auth, nc=" + count;
    }
    if (challenge.hashesUser) {
        value += ", userhash=true";
    }
    return value;
}

} // namespace Krelm::Communicator::HttpDevice
