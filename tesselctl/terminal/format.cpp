// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/format.h"

#include "tesselctl/terminal/jsontext.h"

#include <QRegularExpression>

namespace TesselCtl {

namespace {

QByteArray keyText(const QString& key)
{
    // Words that some readers take for a truth value, or for nothing.
    static const QRegularExpression plain(
        QStringLiteral("^(?!(?:y|n|yes|no|on|off|true|false|null)$)[A-Za-z_][A-Za-z0-9_-]*$"),
        QRegularExpression::CaseInsensitiveOption);
    return plain.match(key).hasMatch() ? key.toUtf8() : toJson(key, false);
}

bool isEmptyContainer(const QVariant& value)
{
    return (value.userType() == QMetaType::QVariantMap && value.toMap().isEmpty()) ||
           (value.userType() == QMetaType::QVariantList && value.toList().isEmpty());
}

/// Writes @p value behind what precedes it in its line: a scalar behind a blank, a container in lines of its
/// own. The first of these begins in this line after the dash of a list.
void write(const QVariant& value, int depth, bool behindDash, QByteArray& text)
{
    const QByteArray indent(2 * depth, ' ');
    const bool isMap = value.userType() == QMetaType::QVariantMap;
    if (isEmptyContainer(value) || (!isMap && value.userType() != QMetaType::QVariantList)) {
        text += (text.isEmpty() || text.endsWith('\n') ? "" : " ") + toJson(value, false) + '\n';
        return;
    }
    bool begun = behindDash;
    if (!begun && !text.isEmpty() && !text.endsWith('\n')) {
        text += '\n';
    }
    const auto beginLine = [&] {
        text += begun ? QByteArray(" ") : indent;
        begun = false;
    };
    if (isMap) {
        const QVariantMap map = value.toMap();
        for (auto member = map.begin(); member != map.end(); ++member) {
            beginLine();
            text += keyText(member.key()) + ':';
            write(member.value(), depth + 1, false, text);
        }
        return;
    }
    const QVariantList list = value.toList();
    for (const QVariant& element : list) {
        beginLine();
        text += '-';
        write(element, depth + 1, true, text);
    }
}

} // namespace

QStringList formatNames()
{
    return {QStringLiteral("table"), QStringLiteral("json"), QStringLiteral("jsonl"), QStringLiteral("yaml")};
}

Format formatNamed(const QString& name)
{
    return static_cast<Format>(formatNames().indexOf(name));
}

QString formatted(const QVariant& value, Format format)
{
    if (format == Format::Yaml) {
        return QString::fromUtf8(toYaml(value));
    }
    if (format == Format::JsonLines && value.userType() == QMetaType::QVariantList) {
        QString lines;
        const QVariantList list = value.toList();
        for (const QVariant& element : list) {
            lines += QString::fromUtf8(toJson(element, false)) + QLatin1Char('\n');
        }
        return lines;
    }
    return QString::fromUtf8(toJson(value, format != Format::JsonLines)) + QLatin1Char('\n');
}

QByteArray toYaml(const QVariant& value)
{
    QByteArray text;
    write(value, 0, false, text);
    return text;
}

} // namespace TesselCtl
