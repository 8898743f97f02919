// SPDX-License-Identifier: MIT
#include "tesselctl/operations/referencetext.h"

namespace TesselCtl {

using Tessel::Operations::ReferenceBody;
using Tessel::Operations::ReferenceRequest;

namespace {

const int lineWidth = 110;

/// @p text without the marks of Markdown, broken at blanks. Every line begins with @p indent, the first with
/// @p label instead, which is as long at most.
QString wrapped(QString text, const QString& indent, const QString& label = {})
{
    text.remove(QLatin1Char('`'));
    QString lines;
    QString line = label.leftJustified(indent.size());
    bool empty = true;
    const QStringList words = text.split(QLatin1Char(' '));
    for (const QString& word : words) {
        if (!empty && line.size() + 1 + word.size() > lineWidth) {
            lines += line + QLatin1Char('\n');
            line = indent;
            empty = true;
        }
        line += (empty ? QString() : QStringLiteral(" ")) + word;
        empty = false;
    }
    return lines + line + QLatin1Char('\n');
}

QString paragraph(const QString& label, const QString& text)
{
    return wrapped(text, QString(16, QLatin1Char(' ')), QString(8, QLatin1Char(' ')) + label);
}

// Samples are not broken, so that they can be copied.
QString bodyText(const QString& label, const ReferenceBody& body)
{
    QString text = QString(8, QLatin1Char(' ')) + label.leftJustified(8) +
                   (body.sample.isNull() ? QStringLiteral("none") : body.sample) + QLatin1Char('\n');
    for (const QString& member : body.members) {
        text += wrapped(member, QString(20, QLatin1Char(' ')), QString(18, QLatin1Char(' ')));
    }
    return text;
}

QString requestText(const ReferenceRequest& request, bool addsWaitTime)
{
    const QString path = request.path.isEmpty() ? QStringLiteral("(no path)") : request.path;
    const QString query =
        request.query.isEmpty() ? QString() : QLatin1Char('?') + request.query.join(QLatin1Char('&'));
    const QString protocol =
        request.protocol.isEmpty() ? QString() : QStringLiteral("  (%1 protocol)").arg(request.protocol);
    const QString added = addsWaitTime ? QStringLiteral(" + waitTime") : QString();
    return QStringLiteral("    %1 %2%3%4\n").arg(request.verb, path, query, protocol) +
           paragraph(QStringLiteral("limit"),
                     QStringLiteral("%1 s%2").arg(request.timeLimit / 1000.0).arg(added)) +
           paragraph(QStringLiteral("waits"), request.waits) +
           bodyText(QStringLiteral("body"), request.body) + bodyText(QStringLiteral("reply"), request.reply);
}

QVariantMap objectOf(const ReferenceBody& body)
{
    return {{QStringLiteral("sample"), body.sample.isNull() ? QVariant() : body.sample},
            {QStringLiteral("members"), body.members}};
}

QVariantMap objectOf(const ReferenceRequest& request)
{
    return {{QStringLiteral("protocol"), request.protocol.isEmpty() ? QVariant() : request.protocol},
            {QStringLiteral("verb"), request.verb},
            {QStringLiteral("path"), request.path},
            {QStringLiteral("query"), request.query},
            {QStringLiteral("timeLimit"), request.timeLimit},
            {QStringLiteral("waits"), request.waits},
            {QStringLiteral("body"), objectOf(request.body)},
            {QStringLiteral("reply"), objectOf(request.reply)}};
}

} // namespace

QString referenceText(const ReferenceEntry& entry)
{
    const QString indent(4, QLatin1Char(' '));
    QString text;
    for (const QString& one : entry.text) {
        text += wrapped(one, indent);
    }
    for (const QString& one : entry.warnings) {
        text += wrapped(QStringLiteral("Warning: ") + one, indent);
    }
    for (const ReferenceRequest& request : entry.requests) {
        text += requestText(request, entry.addsWaitTime);
    }
    if (entry.requests.empty()) {
        text += indent + QStringLiteral("sends nothing\n");
    }
    const QString none = QStringLiteral("none");
    const QString separator = QStringLiteral("; ");
    const QString below(12, QLatin1Char(' '));
    return text +
           wrapped(entry.cache.isEmpty() ? none : entry.cache.join(separator), below,
                   QStringLiteral("    cache")) +
           wrapped(entry.raised.isEmpty() ? none : entry.raised.join(separator), below,
                   QStringLiteral("    signals"));
}

QVariantMap referenceObject(const ReferenceEntry& entry)
{
    QVariantList requests;
    for (const ReferenceRequest& request : entry.requests) {
        requests.append(objectOf(request));
    }
    return {{QStringLiteral("declaration"), entry.declaration},
            {QStringLiteral("text"), entry.text},
            {QStringLiteral("warnings"), entry.warnings},
            {QStringLiteral("addsWaitTime"), entry.addsWaitTime},
            {QStringLiteral("requests"), requests},
            {QStringLiteral("cache"), entry.cache},
            {QStringLiteral("signals"), entry.raised}};
}

} // namespace TesselCtl
