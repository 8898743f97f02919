// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/printable.h"

#include <QVector>

#include <cwchar>

namespace TesselCtl {

namespace {

bool isHarmless(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return false;
    default:
        return true;
    }
}

QString escaped(const QString& text, bool keepLineFeeds)
{
    QString result;
    result.reserve(text.size());
    for (const QChar character : text) {
        if (isHarmless(character) || (keepLineFeeds && character == QLatin1Char('\n'))) {
            result += character;
        } else if (character == QLatin1Char('\n')) {
            result += QStringLiteral("\\n");
        } else if (character == QLatin1Char('\t')) {
            result += QStringLiteral("\\t");
        } else {
            result += QStringLiteral("\\u%1").arg(character.unicode(), 4, 16, QLatin1Char('0'));
        }
    }
    return result;
}

} // namespace

QString printable(const QString& text)
{
    return escaped(text, false);
}

QString printableLines(const QString& text)
{
    return escaped(text, true);
}

int displayWidth(const QString& text)
{
    int columns = 0;
    const QVector<uint> characters = text.toUcs4();
    for (const uint character : characters) {
        const int width = wcwidth(static_cast<wchar_t>(character));
        columns += width < 0 ? 1 : width;
    }
    return columns;
}

} // namespace TesselCtl
