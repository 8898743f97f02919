// SPDX-License-Identifier: MIT
#include "communicator/http/retryafter.h"

#include "communicator/http/headername.h"

#include <QLocale>

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// More digits than the longest wait has.
constexpr int manyDigits = 10;

bool isNumber(const QByteArray& text)
{
    return !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), [](char character) {
        return character >= '0' && character <= '9';
    });
}

// The form of today and the two that are obsolete (RFC 9110, 5.6.7), all of them in UTC.
QDateTime httpDate(const QString& text, const QDateTime& now)
{
    const QLocale english = QLocale::c();
    for (const char* const form : {"ddd, dd MMM yyyy hh:mm:ss 'GMT'", "ddd MMM d hh:mm:ss yyyy"}) {
        const QDateTime date = english.toDateTime(text, QString::fromLatin1(form));
        if (date.isValid()) {
            return {date.date(), date.time(), Qt::UTC};
        }
    }
    // Its year has two digits and is the one that is at most fifty years ahead. The day of the week is left
    // out: it would be that of another century.
    const QDateTime date = english.toDateTime(text.section(QLatin1Char(','), 1).trimmed(),
                                              QStringLiteral("dd-MMM-yy hh:mm:ss 'GMT'"));
    QDateTime utc(date.date(), date.time(), Qt::UTC);
    while (utc.isValid() && utc.date().year() + 50 < now.date().year()) {
        utc = utc.addYears(100);
    }
    return utc;
}

} // namespace

std::optional<std::chrono::milliseconds> retryAfter(const QByteArray& value, const QDateTime& now)
{
    const QByteArray text = value.trimmed();
    std::chrono::milliseconds wait = longestRetryAfter;
    if (isNumber(text)) {
        if (text.size() < manyDigits) {
            wait = std::chrono::seconds(text.toLongLong());
        }
    } else {
        const QDateTime date = httpDate(QString::fromLatin1(text).simplified(), now);
        if (!date.isValid()) {
            return std::nullopt;
        }
        wait = std::chrono::milliseconds(now.msecsTo(date));
    }
    return std::clamp(wait, std::chrono::milliseconds(0), longestRetryAfter);
}

std::optional<std::chrono::milliseconds> retryAfterOf(const HttpReply& reply)
{
    if (!maySayWhenToComeBack(reply.status)) {
        return std::nullopt;
    }
    const auto header = findHeader(reply.headers, QLatin1String("retry-after"));
    return header == reply.headers.cend() ? std::nullopt : retryAfter(header->toUtf8());
}

} // namespace Krelm::Communicator::HttpDevice
