// SPDX-License-Identifier: MIT
//
// Forms: what the transport writes, a device reads as it was meant; and what a device reads may be anything.
// The first byte chooses which, the second how a form is cut.
#include "communicator/http/outgoingbody.h"

#include "fuzzing.h"

#include <simulator/text/multipartform.h>

#include <QUrl>

using Krelm::Communicator::HttpDevice::OutgoingBody;
using namespace Tessel::Simulator;

namespace {

std::string_view view(const QByteArray& text)
{
    return {text.constData(), static_cast<std::size_t>(text.size())};
}

QByteArray sent(OutgoingBody& body, unsigned seed)
{
    QByteArray all;
    while (!body.isSent()) {
        const auto bytes = body.next();
        FUZZ_EXPECT(bytes.size > 0);
        const std::size_t taken = seed == 0 ? bytes.size : std::min<std::size_t>(bytes.size, seed);
        all.append(bytes.data, static_cast<int>(taken));
        body.consume(taken);
        FUZZ_EXPECT(body.sent() == all.size());
    }
    FUZZ_EXPECT(body.next().size == 0 && !body.hasFailed());
    return all;
}

// As a name is written in a form.
QByteArray escaped(const QString& name)
{
    return name.toUtf8().replace('\n', "%0A").replace('\r', "%0D").replace('"', "%22");
}

void expectWhatIsSentIsRead(Fuzzing::Input& input)
{
    const unsigned seed = input.byte();
    QMap<QString, QVariant> parts;
    while (!input.isEmpty() && parts.size() < 900) {
        const unsigned kind = input.byte();
        const QString name = QString::fromUtf8(input.until('\0'));
        const QByteArray value = input.until('\0');
        switch (kind % 4) {
        case 0:
            parts.insert(name, value);
            break;
        case 1:
            parts.insert(name, QString::fromUtf8(value));
            break;
        case 2:
            parts.insert(name, QVariantList{QString::fromUtf8(value), value.size()});
            break;
        default:
            parts.insert(name, QVariantMap{{QString::fromUtf8(value), true}});
        }
    }
    OutgoingBody body;
    FUZZ_EXPECT(body.setForm(parts) == Krelm::Communicator::HttpDevice::IHttpVersionTrigger::Success);
    const QByteArray text = sent(body, seed);
    FUZZ_EXPECT(text.size() == body.size());
    body.rewind();
    FUZZ_EXPECT(sent(body, 0) == text);

    FUZZ_EXPECT(isMultipartForm(view(body.contentType())));
    const auto read = formParts(view(body.contentType()), view(text));
    FUZZ_EXPECT(read && read->size() == static_cast<std::size_t>(parts.size()));
    std::size_t at = 0;
    for (auto part = parts.cbegin(); part != parts.cend(); ++part, ++at) {
        const FormPart& found = (*read)[at];
        // A backslash escapes what follows it for some devices, this one among them, and is itself for
        // others.
        if (!part.key().contains(QLatin1Char('\\'))) {
            FUZZ_EXPECT(found.name == escaped(part.key()).toStdString());
        }
        FUZZ_EXPECT(found.fileName.empty());
        if (part->userType() == QMetaType::QByteArray || part->userType() == QMetaType::QString) {
            FUZZ_EXPECT(found.content == view(part->toByteArray()));
        }
    }
}

void expectAnythingIsRead(Fuzzing::Input& input)
{
    const QByteArray contentType = input.until('\n');
    const QByteArray text = input.rest();
    const auto read = formParts(view(contentType), view(text));
    if (!read) {
        return;
    }
    std::size_t size = 0;
    for (const FormPart& part : *read) {
        const bool isWithin = part.content.empty() ||
                              (part.content.data() >= text.constData() &&
                               part.content.data() + part.content.size() <= text.constData() + text.size());
        FUZZ_EXPECT(isWithin);
        size += part.content.size() + part.name.size() + part.fileName.size() + part.contentType.size();
    }
    FUZZ_EXPECT(size <= static_cast<std::size_t>(text.size()));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Fuzzing::Input input(bytes, size);
    if ((input.byte() & 1U) != 0) {
        expectWhatIsSentIsRead(input);
    } else {
        expectAnythingIsRead(input);
    }
    return 0;
}
