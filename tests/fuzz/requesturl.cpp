// SPDX-License-Identifier: MIT
//
// What a path, its placeholders and its parameters become, and what an address becomes. The first line of the
// input is the path; each further one is `+name=value` for a placeholder, or `name=value` for a parameter.
#include "communicator/http/requesturl.h"

#include "communicator/devices/deviceaddress.h"
#include "communicator/http/transferlimits.h"
#include "fuzzing.h"

#include <simulator/routes/target.h>

#include <QUrl>

#include <cctype>
#include <cstring>

using namespace Krelm::Communicator::HttpDevice;

namespace {

// Nothing in it can end the request line, or become a fragment.
void expectWellFormed(const QByteArray& target)
{
    FUZZ_EXPECT(target.startsWith('/'));
    FUZZ_EXPECT(target.size() <= maxTargetLength);
    for (int i = 0; i < target.size(); ++i) {
        const char c = target[i];
        FUZZ_EXPECT(c > ' ' && c < 127 && std::strchr("\"#<>\\^`{|}", c) == nullptr);
        if (c == '%') {
            FUZZ_EXPECT(i + 2 < target.size());
            FUZZ_EXPECT(std::isxdigit(static_cast<unsigned char>(target[i + 1])) != 0);
            FUZZ_EXPECT(std::isxdigit(static_cast<unsigned char>(target[i + 2])) != 0);
        }
    }
}

void expectAddressUnderstood(const QString& address)
{
    const QByteArray url = baseUrlOfAddress(address);
    const QByteArray ofKey = baseUrlOfKey(address);
    FUZZ_EXPECT(ofKey.isEmpty() || ofKey == url);
    if (url.isEmpty()) {
        return;
    }
    FUZZ_EXPECT(url.startsWith("http://") || url.startsWith("https://"));
    FUZZ_EXPECT(baseUrlOfAddress(QString::fromLatin1(url)) == url);
    const QByteArray host = url.mid(url.indexOf("//") + 2);
    for (const char c : host) {
        FUZZ_EXPECT(c > ' ' && c < 127 && std::strchr("/@?#\\\"", c) == nullptr);
    }
    isLoopback(url);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Fuzzing::Input input(bytes, size);
    const QString path = QString::fromUtf8(input.until('\n'));
    QMap<QString, QString> placeHolders;
    QMap<QString, QString> parameters;
    while (!input.isEmpty()) {
        const QByteArray line = input.until('\n');
        const bool isPlaceHolder = line.startsWith('+');
        const QByteArray pair = line.mid(isPlaceHolder ? 1 : 0);
        const int equals = static_cast<int>(pair.indexOf('='));
        const QString name = QString::fromUtf8(equals < 0 ? pair : pair.left(equals));
        const QString value = equals < 0 ? QString() : QString::fromUtf8(pair.mid(equals + 1));
        (isPlaceHolder ? placeHolders : parameters).insert(name, value);
    }
    expectAddressUnderstood(path);

    const QByteArray target = requestTarget(path, placeHolders, parameters);
    FUZZ_EXPECT(!target.isEmpty()); // no input is that long
    expectWellFormed(target);
    FUZZ_EXPECT(requestTarget(QString::fromLatin1(target), {}, {}) == target);

    // A value stays within its segment and its parameter: it adds neither a slash nor an ampersand.
    const QByteArray bare = requestTarget(path, placeHolders, {});
    QMap<QString, QString> harmless = placeHolders;
    for (QString& value : harmless) {
        value = QStringLiteral("x");
    }
    const QByteArray plain = requestTarget(path, harmless, {});
    for (const char separator : {'/', '?', '&'}) {
        FUZZ_EXPECT(bare.count(separator) == plain.count(separator));
    }
    FUZZ_EXPECT(target.count('&') + target.count('?') ==
                bare.count('&') + bare.count('?') + static_cast<int>(parameters.size()));

    // A device reads what was meant.
    const auto parsed = Tessel::Simulator::parseTarget(
        std::string_view(target.constData(), static_cast<std::size_t>(target.size())));
    FUZZ_EXPECT(parsed);
    const auto read = Tessel::Simulator::parseQuery(parsed->query);
    if (!bare.contains('?')) {
        std::size_t at = 0;
        for (auto parameter = parameters.cbegin(); parameter != parameters.cend(); ++parameter) {
            if (parameter.key().isEmpty()) {
                continue; // it has no meaning to the device
            }
            FUZZ_EXPECT(at < read.size());
            FUZZ_EXPECT(read[at].first == parameter.key().toUtf8().toStdString());
            FUZZ_EXPECT(read[at].second == parameter->toUtf8().toStdString());
            ++at;
        }
        FUZZ_EXPECT(at == read.size());
    }
    return 0;
}
