// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/operations/arguments.h"
#include "tesselctl/operations/requestprobe.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include <operations/operationlist.h>

#include <QHash>
#include <QLoggingCategory>

namespace TesselCtl {

using Tessel::Protocol;
using Tessel::Operations::allOperations;
using Tessel::Operations::Parameter;
using Tessel::Operations::placeholderOf;

namespace {

const char* const footer = R"(
Examples:
  tesselctl ops brightness
  tesselctl --json ops | jq .)";

/// An operation as the list shows it.
struct Entry
{
    const Operation& operation;
    QString name;                ///< with its number where it is one of several overloads
    ProbedRequests singleScreen; ///< what it sends to a device of this protocol
    ProbedRequests multiScreen;  ///< and of this one
};

QString nameOf(Protocol protocol)
{
    return QLatin1String(Tessel::protocolName(protocol));
}

QString linesOf(const ProbedRequests& requests, const QString& info)
{
    QString lines;
    for (const ProbedRequest& request : requests) {
        lines +=
            QStringLiteral("    %1 %2%3\n")
                .arg(request.verb, request.path.isEmpty() ? QStringLiteral("(no path)") : request.path, info);
    }
    return lines.isEmpty() ? QStringLiteral("    sends nothing%1\n").arg(info) : lines;
}

QString textOf(const Entry& entry)
{
    const QString arguments = entry.operation.usage().mid(entry.operation.qualifiedName().size());
    QString text = entry.name + arguments + QLatin1Char('\n');
    if (entry.singleScreen == entry.multiScreen) {
        return text + linesOf(entry.singleScreen, {});
    }
    const auto info = [](Protocol protocol) {
        return QStringLiteral("  (%1 protocol)").arg(nameOf(protocol));
    };
    return text + linesOf(entry.singleScreen, info(Protocol::SingleScreen)) +
           linesOf(entry.multiScreen, info(Protocol::MultiScreen));
}

QVariantList listOf(const ProbedRequests& requests)
{
    QVariantList list;
    for (const ProbedRequest& request : requests) {
        list.append(
            QVariantMap{{QStringLiteral("verb"), request.verb}, {QStringLiteral("path"), request.path}});
    }
    return list;
}

QVariantMap objectOf(const Entry& entry)
{
    const QString directions[] = {QStringLiteral("in"), QStringLiteral("out"), QStringLiteral("inout")};
    const QString sources[] = {QString(), QStringLiteral("HTTP status"), QStringLiteral("response headers")};
    QVariantList parameters;
    for (const Parameter& parameter : entry.operation.parameters) {
        QVariantMap object{{QStringLiteral("name"), parameter.name},
                           {QStringLiteral("type"), placeholderOf(parameter.type)},
                           {QStringLiteral("direction"), directions[parameter.direction]}};
        if (parameter.source != Parameter::Body) {
            object.insert(QStringLiteral("source"), sources[parameter.source]);
        }
        parameters.append(object);
    }
    return {{QStringLiteral("operation"), entry.name},
            {QStringLiteral("usage"), entry.operation.usage()},
            {QStringLiteral("parameters"), parameters},
            {nameOf(Protocol::SingleScreen), listOf(entry.singleScreen)},
            {nameOf(Protocol::MultiScreen), listOf(entry.multiScreen)}};
}

/// Lists the operations, with what they take and what they send, whose lines hold @p filter, upper and lower
/// case being the same.
ExitCode runOps(const Settings& settings, const QString& filter, Console& console)
{
    QHash<QString, int> overloads;
    for (const Operation& operation : allOperations()) {
        ++overloads[operation.qualifiedName()];
    }

    QVariantList list;
    QString lines;
    QHash<QString, int> seen;
    // What operations log about sample arguments helps nobody.
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    RequestProbe probe;
    for (const Operation& operation : allOperations()) {
        QString name = operation.qualifiedName();
        const int number = ++seen[name];
        if (overloads.value(name) > 1) {
            name += QStringLiteral("#%1").arg(number);
        }
        Entry entry{operation, name, probe.requestsOf(operation, Protocol::SingleScreen), {}};
        entry.multiScreen = operation.choosesByProtocol() ? probe.requestsOf(operation, Protocol::MultiScreen)
                                                          : entry.singleScreen;
        const QString text = textOf(entry);
        if (!text.contains(filter, Qt::CaseInsensitive)) {
            continue;
        }
        lines += text;
        list.append(objectOf(entry));
    }
    console.out(settings.json ? QString::fromUtf8(toJson(list, true)) + QLatin1Char('\n') : lines);
    if (list.isEmpty()) {
        console.error(QStringLiteral("no operation matches \"%1\"").arg(printable(filter)));
    }
    return Done;
}

} // namespace

void addOps(CommandParser& parser)
{
    const auto filter = std::make_shared<QString>();
    CommandParser ops =
        parser.addCommand("ops", QStringLiteral("list the operations with arguments, verb and path"));
    ops.add("FILTER", *filter, QStringLiteral("list only what contains this text"));
    ops.setFooter(QString::fromUtf8(footer));
    ops.setRun(
        [filter](const Settings& settings, Console& console) { return runOps(settings, *filter, console); });
}

} // namespace TesselCtl
