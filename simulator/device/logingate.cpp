// SPDX-License-Identifier: MIT
#include <simulator/device/logingate.h>

#include <simulator/text/texttools.h>

#include <QCryptographicHash>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace Tessel::Simulator {
namespace {

constexpr const char* realm = "tessel-sim";
// Whoever asks for challenges and never answers must not fill the memory.
constexpr std::size_t maxNonces = 4096;

QByteArray bytes(std::string_view text)
{
    return {text.data(), static_cast<int>(text.size())};
}

std::string randomText()
{
    std::array<quint32, 6> words{};
    QRandomGenerator::system()->fillRange(words.data(), static_cast<qsizetype>(words.size()));
    return QByteArray(reinterpret_cast<const char*>(words.data()), sizeof words).toHex().toStdString();
}

// Takes as long for a wrong text as for the right one.
bool isSame(std::string_view given, std::string_view wanted)
{
    const auto hash = [](std::string_view text) {
        return QCryptographicHash::hash(bytes(text), QCryptographicHash::Sha256);
    };
    const QByteArray a = hash(given);
    const QByteArray b = hash(wanted);
    int difference = 0;
    for (int i = 0; i < a.size(); ++i) {
        difference |= a[i] ^ b[i];
    }
    return difference == 0;
}

/// What follows the name of @p scheme; nothing if @p authorization is of another one.
std::optional<std::string_view> credentials(std::string_view authorization, std::string_view scheme)
{
    if (!startsWithNoCase(authorization, scheme) || authorization.substr(scheme.size(), 1) != " ") {
        return std::nullopt;
    }
    return trimmed(authorization.substr(scheme.size()), " \t");
}

using Parameters = std::map<std::string, std::string, std::less<>>;

/// The parameters of a digest login; nothing if they are malformed or one is repeated.
std::optional<Parameters> parametersOf(std::string_view text)
{
    Parameters parameters;
    std::size_t at = 0;
    const auto skipBlanks = [&] { at = std::min(text.find_first_not_of(" \t", at), text.size()); };
    while (true) {
        skipBlanks();
        const auto equals = text.find('=', at);
        if (equals == std::string_view::npos) {
            return std::nullopt;
        }
        std::string name(trimmed(text.substr(at, equals - at), " \t"));
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        at = equals + 1;
        skipBlanks();
        std::string value;
        if (at < text.size() && text[at] == '"') {
            for (++at; at < text.size() && text[at] != '"'; ++at) {
                if (text[at] == '\\' && at + 1 < text.size()) {
                    ++at;
                }
                value += text[at];
            }
            if (at == text.size()) {
                return std::nullopt;
            }
            ++at;
        } else {
            const auto end = std::min(text.find_first_of(", \t", at), text.size());
            value = text.substr(at, end - at);
            at = end;
        }
        if (!parameters.emplace(std::move(name), std::move(value)).second) {
            return std::nullopt;
        }
        skipBlanks();
        if (at == text.size()) {
            return parameters;
        }
        if (text[at] != ',') {
            return std::nullopt;
        }
        ++at;
    }
}

const std::string& valueOf(const Parameters& parameters, const char* name)
{
    static const std::string none;
    const auto it = parameters.find(name);
    return it == parameters.end() ? none : it->second;
}

std::optional<QCryptographicHash::Algorithm> hashCalled(std::string_view name)
{
    if (name.empty() || (name.size() == 3 && startsWithNoCase(name, "md5"))) {
        return QCryptographicHash::Md5;
    }
    if (name.size() == 7 && startsWithNoCase(name, "sha-256")) {
        return QCryptographicHash::Sha256;
    }
    return std::nullopt;
}

std::optional<std::uint32_t> countOf(const std::string& text)
{
    std::uint32_t count = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, count, 16);
    return error == std::errc() && rest == end && text.size() == 8 && count > 0 ? std::optional(count)
                                                                                : std::nullopt;
}

} // namespace

LoginGate::LoginGate(const Options& options)
    : m_login(options.login)
    , m_user(options.user.toStdString())
    , m_password(options.secret.toStdString())
    , m_tokenLifetime(options.tokenLifetime)
    , m_nonceLifetime(options.nonceLifetime)
    , m_token(m_password)
{}

LoginGate::Verdict LoginGate::judge(std::string_view method, std::string_view target,
                                    std::string_view authorization)
{
    switch (m_login) {
    case Login::None:
        return {true, {}, {}};
    case Login::Basic:
        return judgeBasic(authorization);
    case Login::Digest:
        return judgeDigest(method, target, authorization);
    case Login::Bearer:
        return judgeBearer(authorization);
    }
    return {};
}

LoginGate::Verdict LoginGate::judgeBasic(std::string_view authorization) const
{
    const auto given = credentials(authorization, "basic");
    if (given) {
        const QByteArray text = QByteArray::fromBase64(bytes(*given));
        if (isSame({text.constData(), static_cast<std::size_t>(text.size())}, m_user + ':' + m_password)) {
            return {true, {}, {}};
        }
    }
    return {false,
            {std::string("Basic realm=\"") + realm + "\", charset=\"UTF-8\""},
            given ? "wrong user or password" : "this device needs a basic login"};
}

LoginGate::Verdict LoginGate::judgeBearer(std::string_view authorization) const
{
    std::string challenge = std::string("Bearer realm=\"") + realm + '"';
    const auto given = credentials(authorization, "bearer");
    if (!given) {
        return {false, {challenge}, "this device needs a token"};
    }
    const std::lock_guard lock(m_mutex);
    const bool isKnown = isSame(*given, m_token);
    if (isKnown && !hasExpired()) {
        return {true, {}, {}};
    }
    const std::string message = isKnown ? "the token has expired" : "the token is not valid";
    challenge.append(R"(, error="invalid_token", error_description=")").append(message).append("\"");
    return {false, {challenge}, message};
}

LoginGate::Verdict LoginGate::judgeDigest(std::string_view method, std::string_view target,
                                          std::string_view authorization)
{
    const auto given = credentials(authorization, "digest");
    if (!given) {
        return digestChallenge(false, "this device needs a digest login");
    }
    const auto parameters = parametersOf(*given);
    if (!parameters) {
        return digestChallenge(false, "the login is malformed");
    }
    const auto algorithm = hashCalled(valueOf(*parameters, "algorithm"));
    const auto count = countOf(valueOf(*parameters, "nc"));
    const std::string& nonce = valueOf(*parameters, "nonce");
    if (!algorithm || !count || valueOf(*parameters, "qop") != "auth" ||
        valueOf(*parameters, "cnonce").empty() || valueOf(*parameters, "uri") != target ||
        valueOf(*parameters, "realm") != realm || valueOf(*parameters, "username") != m_user) {
        return digestChallenge(false, "the login does not fit the request");
    }
    const auto hash = [&algorithm](const std::string& text) {
        return QCryptographicHash::hash(bytes(text), *algorithm).toHex().toStdString();
    };
    const std::string wanted = hash(hash(m_user + ':' + realm + ':' + m_password) + ':' + nonce + ':' +
                                    valueOf(*parameters, "nc") + ':' + valueOf(*parameters, "cnonce") +
                                    ":auth:" + hash(std::string(method) + ':' + std::string(target)));
    if (!isSame(valueOf(*parameters, "response"), wanted)) {
        return digestChallenge(false, "wrong user or password");
    }
    if (!takeCount(nonce, *count)) {
        return digestChallenge(true, "the nonce has expired or its count was used before");
    }
    return {true, {}, {}};
}

LoginGate::Verdict LoginGate::digestChallenge(bool isStale, const char* message)
{
    const std::string nonce = randomText();
    {
        const std::lock_guard lock(m_mutex);
        const auto now = Clock::now();
        if (m_nonces.size() >= maxNonces) {
            for (auto it = m_nonces.begin(); it != m_nonces.end();) {
                it = now - it->second.made > m_nonceLifetime || it->second.latest == 0 ? m_nonces.erase(it)
                                                                                       : std::next(it);
            }
        }
        if (m_nonces.size() >= maxNonces) {
            m_nonces.clear();
        }
        m_nonces[nonce].made = now;
    }
    const std::string rest =
        std::string(R"(, qop="auth", nonce=")") + nonce + '"' + (isStale ? ", stale=true" : "");
    const std::string begin = std::string("Digest realm=\"") + realm + '"';
    return {false, {begin + ", algorithm=SHA-256" + rest, begin + ", algorithm=MD5" + rest}, message};
}

// Requests on several connections may come in another order than they were counted in.
bool LoginGate::takeCount(const std::string& nonce, std::uint32_t count)
{
    const std::lock_guard lock(m_mutex);
    const auto it = m_nonces.find(nonce);
    if (it == m_nonces.end()) {
        return false;
    }
    if (Clock::now() - it->second.made > m_nonceLifetime) {
        m_nonces.erase(it);
        return false;
    }
    Nonce& known = it->second;
    if (count > known.latest) {
        const std::uint32_t ahead = count - known.latest;
        known.seen = ahead < known.seen.size() ? known.seen << ahead : Counts();
        known.latest = count;
    }
    const std::uint32_t back = known.latest - count;
    if (back >= known.seen.size() || known.seen[back]) {
        return false;
    }
    known.seen[back] = true;
    return true;
}

bool LoginGate::hasExpired() const
{
    return m_isExpired || (m_tokenLifetime.count() > 0 && Clock::now() - m_tokenBegin > m_tokenLifetime);
}

std::string LoginGate::replaceToken(std::string_view token)
{
    std::string text = token.empty() ? randomText() : std::string(token);
    const std::lock_guard lock(m_mutex);
    m_token = text;
    m_tokenBegin = Clock::now();
    m_isExpired = false;
    return text;
}

void LoginGate::expireToken()
{
    const std::lock_guard lock(m_mutex);
    m_isExpired = true;
}

std::int64_t LoginGate::tokenLeft() const
{
    const std::lock_guard lock(m_mutex);
    if (hasExpired()) {
        return 0;
    }
    if (m_tokenLifetime.count() == 0) {
        return -1;
    }
    const auto used = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - m_tokenBegin);
    return std::max<std::int64_t>(0, (m_tokenLifetime - used).count());
}

void LoginGate::forgetNonces()
{
    const std::lock_guard lock(m_mutex);
    m_nonces.clear();
}

} // namespace Tessel::Simulator
