// SPDX-License-Identifier: MIT
#include "communicator/http/responseparser.h"

#include "communicator/http/headername.h"

#include <boost/beast/http/basic_parser.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

namespace {

namespace http = boost::beast::http;
using boost::beast::error_code;
using BeastView = boost::beast::string_view;

// The framing of a chunk: its size, its extensions, and the trailer after the last chunk.
constexpr int maxFrameBytes = 16 << 10;
// The shortest end of a chunked body, which the grammar assumes after it has seen the first line of it.
constexpr std::size_t leastFrameBytes = 5;
// The extensions of all chunks of a response together; they are not used.
constexpr std::size_t maxExtensionBytes = 16 << 10;

constexpr std::string_view blanks = " \t";

std::string_view view(BeastView text)
{
    return {text.data(), text.size()};
}

/// The end of the head that begins at @p text, after its blank line; 0 if it is incomplete. The search for
/// line ends begins at @p from.
std::size_t headEnd(std::string_view text, std::size_t from)
{
    std::size_t at = text.find('\n', from);
    while (at != std::string_view::npos) {
        const std::string_view rest = text.substr(++at, 2);
        if (rest.substr(0, 1) == "\n") {
            return at + 1;
        }
        if (rest == "\r\n") {
            return at + 2;
        }
        at = text.find('\n', at);
    }
    return 0;
}

bool isBlank(char character)
{
    return blanks.find(character) != std::string_view::npos;
}

/// @p head in the form that the grammar accepts; empty if it is not the head of a response.
QByteArray tidied(std::string_view head)
{
    QByteArray out;
    out.reserve(static_cast<int>(head.size()) + 64);
    bool isStatusLine = true;
    while (!head.empty()) {
        const std::size_t feed = head.find('\n');
        std::string_view line = head.substr(0, feed);
        head.remove_prefix(feed == std::string_view::npos ? head.size() : feed + 1);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (isStatusLine) {
            isStatusLine = false;
            const std::string_view version = line.substr(0, std::min<std::size_t>(8, line.size()));
            line.remove_prefix(version.size());
            const std::size_t code = line.find_first_not_of(blanks);
            if (code == 0 || code == std::string_view::npos || line.size() < code + 3) {
                return {};
            }
            std::string_view reason = line.substr(code + 3);
            if (!reason.empty() && !isBlank(reason.front())) {
                return {};
            }
            reason.remove_prefix(std::min<std::size_t>(1, reason.size()));
            out.append(version.data(), int(version.size())).append(' ');
            out.append(line.data() + code, 3).append(' ').append(reason.data(), int(reason.size()));
        } else {
            const std::size_t colon = line.find(':');
            const bool folded = !line.empty() && isBlank(line.front());
            if (folded || colon == std::string_view::npos) {
                out.append(line.data(), int(line.size())); // the grammar will check it
            } else {
                const std::size_t last = line.substr(0, colon).find_last_not_of(blanks);
                out.append(line.data(), last == std::string_view::npos ? 0 : int(last + 1));
                out.append(line.data() + colon, int(line.size() - colon));
            }
        }
        out.append("\r\n");
    }
    return out;
}

// The only fault that a body can have.
QString malformedChunk()
{
    return QStringLiteral("the reply's body is not valid HTTP: the frame of a chunk is malformed");
}

} // namespace

ResponseParser::Handler::~Handler() = default;

/// The grammar of one response, final or interim.
class ResponseParser::Grammar final : public http::basic_parser<false>
{
public:
    explicit Grammar(Handler& handler)
        : m_handler(handler)
    {
        eager(true);
        body_limit(std::numeric_limits<std::uint64_t>::max()); // the handler checks lengths
        header_limit(std::numeric_limits<std::uint32_t>::max());
    }

    bool isInterim() const { return m_status / 100 == 1; }
    bool isRefused() const { return m_refused; }
    /// Whether the data of a chunk has come.
    bool hasChunks() const { return m_hasChunks; }
    bool hasTooManyExtensions() const { return m_extensionBytes > maxExtensionBytes; }

private:
    void on_request_impl(http::verb /*method*/, BeastView /*name*/, BeastView /*target*/, int /*version*/,
                         error_code& /*ec*/) override
    {}

    void on_response_impl(int status, BeastView /*reason*/, int version, error_code& /*ec*/) override
    {
        m_status = status;
        m_version = version;
    }

    void on_field_impl(http::field field, BeastView name, BeastView value, error_code& ec) override
    {
        if (m_inBody) {
            return; // trailers are ignored
        }
        // With an unsupported coding the end of the body could only be guessed (RFC 9112,
        // "Transfer-Encoding").
        if (field == http::field::transfer_encoding &&
            (!isNamed(view(value), "chunked") || m_version < 11 || std::exchange(m_hasCoding, true))) {
            ec = http::error::bad_transfer_encoding;
            return;
        }
        if (!isInterim()) {
            m_handler.responseField(view(name), view(value));
        }
    }

    void on_header_impl(error_code& ec) override
    {
        m_inBody = true;
        if (m_status == 101) {
            ec = http::error::bad_status; // no other protocol was requested
            return;
        }
        if (isInterim()) {
            return;
        }
        Head head;
        head.status = m_status;
        head.untilClose = need_eof() && m_status != 204 && m_status != 304;
        if (const auto length = content_length()) {
            constexpr auto longest = static_cast<std::uint64_t>(std::numeric_limits<qint64>::max());
            head.length = static_cast<qint64>(std::min<std::uint64_t>(*length, longest));
        }
        refuseUnless(m_handler.responseHead(head), ec);
    }

    void on_body_init_impl(const boost::optional<std::uint64_t>& /*length*/, error_code& /*ec*/) override {}

    std::size_t on_body_impl(BeastView body, error_code& ec) override
    {
        refuseUnless(m_handler.responseBody(body.data(), body.size()), ec);
        return body.size();
    }

    void on_chunk_header_impl(std::uint64_t size, BeastView extensions, error_code& ec) override
    {
        m_hasChunks = m_hasChunks || size > 0;
        m_extensionBytes += extensions.size();
        if (hasTooManyExtensions()) {
            ec = http::error::bad_chunk_extension;
        }
    }

    std::size_t on_chunk_body_impl(std::uint64_t /*remain*/, BeastView body, error_code& ec) override
    {
        return on_body_impl(body, ec);
    }

    void on_finish_impl(error_code& /*ec*/) override {}

    void refuseUnless(bool goOn, error_code& ec)
    {
        if (!goOn) {
            m_refused = true;
            ec = http::error::end_of_stream;
        }
    }

    Handler& m_handler;
    int m_status = 0;
    int m_version = 0;
    bool m_inBody = false;
    bool m_hasCoding = false;
    bool m_hasChunks = false;
    bool m_refused = false;
    std::size_t m_extensionBytes = 0;
};

ResponseParser::ResponseParser(Handler& handler, const TransferLimits& limits)
    : m_handler(handler)
    , m_limits(limits)
{}

ResponseParser::~ResponseParser() = default;

void ResponseParser::reset()
{
    m_grammar.reset();
    m_now = {};
}

void ResponseParser::fail(State state, const QString& error)
{
    m_now.state = state;
    m_now.error = error;
}

bool ResponseParser::keepsConnection() const
{
    return m_now.state == State::Complete && !m_now.surplus && m_grammar->keep_alive();
}

ResponseParser::State ResponseParser::feed(const char* bytes, std::size_t size)
{
    m_now.hasBegun = m_now.hasBegun || size > 0;
    while (size > 0 && m_now.state == State::Reading) {
        const std::size_t taken = m_now.inBody ? feedBody(bytes, size) : feedHead(bytes, size);
        bytes += taken;
        size -= taken;
    }
    m_now.surplus = m_now.surplus || size > 0;
    return m_now.state;
}

std::size_t ResponseParser::feedHead(const char* bytes, std::size_t size)
{
    constexpr std::string_view start = "HTTP/1.";
    const std::string_view piece(bytes, size);
    const auto before = static_cast<std::size_t>(m_now.pending.size());
    if (before == 0 && piece.substr(0, start.size()) == start.substr(0, size)) {
        if (const std::size_t end = headEnd(piece, 0)) { // as most heads come; needs no copy
            parseHead(piece.substr(0, end));
            return end;
        }
    }
    const std::size_t room =
        static_cast<std::size_t>(std::max<qint64>(0, m_limits.headerBytes - m_now.headBytes)) + 1;
    const std::size_t taken = std::min(size, room - before);
    m_now.pending.append(bytes, static_cast<int>(taken));
    const std::string_view all(m_now.pending.constData(), before + taken);
    if (all.substr(0, start.size()) != start.substr(0, all.size())) {
        fail(State::Malformed, QStringLiteral("the reply is not an HTTP/1 response"));
    } else if (const std::size_t end = headEnd(all, before < 2 ? 0 : before - 2)) {
        const QByteArray head = std::exchange(m_now.pending, {});
        parseHead({head.constData(), end});
        return end - before;
    } else if (all.size() >= room) {
        fail(State::TooLarge, QStringLiteral("the reply's headers are too large"));
    }
    return taken;
}

void ResponseParser::parseHead(std::string_view head)
{
    m_now.headBytes += static_cast<qint64>(head.size());
    m_now.headLines += static_cast<int>(std::count(head.begin(), head.end(), '\n'));
    if (m_now.headBytes > m_limits.headerBytes || m_now.headLines > m_limits.headerLines) {
        fail(State::TooLarge, QStringLiteral("the reply's headers are too large"));
        return;
    }
    const QByteArray tidy = tidied(head);
    m_grammar = std::make_unique<Grammar>(m_handler);
    error_code error;
    m_grammar->put(boost::asio::const_buffer(tidy.constData(), static_cast<std::size_t>(tidy.size())), error);
    if (m_grammar->isRefused()) {
        m_now.state = State::Refused;
    } else if (error && error != http::error::need_more) {
        fail(State::Malformed, QStringLiteral("the reply's head is not valid HTTP: ") +
                                   QString::fromStdString(error.message()));
    } else if (!m_grammar->is_header_done()) {
        fail(State::Malformed, QStringLiteral("the reply's head is not valid HTTP"));
    } else if (!m_grammar->isInterim()) {
        m_now.inBody = true;
        m_now.state = m_grammar->is_done() ? State::Complete : State::Reading;
    }
}

std::size_t ResponseParser::feedBody(const char* bytes, std::size_t size)
{
    if (m_now.pending.isEmpty()) {
        const std::size_t taken = putBody(bytes, size);
        if (m_now.state == State::Reading && taken < size) {
            m_now.pending.append(bytes + taken, static_cast<int>(size - taken));
            m_now.frame.begin(m_grammar->hasChunks());
            judgeFrame({bytes + taken, size - taken});
            return size;
        }
        return taken;
    }
    // An incomplete frame is completed a little at a time, so that the bytes after it are not copied.
    const std::size_t before = static_cast<std::size_t>(m_now.pending.size());
    const std::size_t more = std::min<std::size_t>(size, 64);
    m_now.pending.append(bytes, static_cast<int>(more));
    judgeFrame({bytes, more});
    if (m_now.state != State::Reading || before + more < leastFrameBytes) {
        return more;
    }
    const QByteArray frame = std::exchange(m_now.pending, {});
    const std::size_t taken = putBody(frame.constData(), before + more);
    if (m_now.state == State::Reading && taken < before + more) {
        m_now.pending = frame.mid(static_cast<int>(taken));
        if (taken > 0) {
            m_now.frame.begin(m_grammar->hasChunks());
            judgeFrame({m_now.pending.constData(), before + more - taken});
        }
        return more;
    }
    return std::max(taken, before) - before;
}

// The grammar judges a line when it is whole.
void ResponseParser::judgeFrame(std::string_view bytes)
{
    if (!m_now.frame.take(bytes)) {
        fail(State::Malformed, malformedChunk());
    }
}

/// @return how much the grammar has consumed: everything, or the bytes before an incomplete frame.
std::size_t ResponseParser::putBody(const char* bytes, std::size_t size)
{
    std::size_t done = 0;
    while (done != size && m_now.state == State::Reading) {
        error_code error;
        const std::size_t taken = m_grammar->put(boost::asio::const_buffer(bytes + done, size - done), error);
        done += taken;
        if (m_grammar->isRefused()) {
            m_now.state = State::Refused;
        } else if (m_grammar->hasTooManyExtensions()) {
            fail(State::TooLarge, QStringLiteral("the reply's chunk extensions are too large"));
        } else if (error && error != http::error::need_more) {
            fail(State::Malformed, malformedChunk());
        } else if (m_grammar->is_done()) {
            m_now.state = State::Complete;
        } else if (taken == 0) {
            if (size - done > maxFrameBytes) {
                fail(State::TooLarge, QStringLiteral("the reply's chunk framing is too large"));
            }
            break;
        }
    }
    return done;
}

ResponseParser::State ResponseParser::end()
{
    if (m_now.state != State::Reading) {
        return m_now.state;
    }
    if (m_now.inBody && m_now.pending.isEmpty() && m_grammar->need_eof()) {
        error_code error;
        m_grammar->put_eof(error);
        m_now.state = error ? State::Cut : State::Complete;
    } else {
        m_now.state = State::Cut;
    }
    return m_now.state;
}

} // namespace Krelm::Communicator::HttpDevice
