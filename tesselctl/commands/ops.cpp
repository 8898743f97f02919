// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/operations/arguments.h"
#include "tesselctl/operations/referencetext.h"
#include "tesselctl/operations/requestprobe.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include <operations/operationlist.h>
#include <operations/reference.h>

#include <QLoggingCategory>

namespace TesselCtl {

using Tessel::Protocol;
using Tessel::Operations::allOperations;
using Tessel::Operations::Parameter;
using Tessel::Operations::placeholderOf;
using Tessel::Operations::referenceNames;
using Tessel::Operations::referenceOf;

namespace {

const char* const footer = R"(
Operations that have no route or do nothing are listed only with --all.

Examples:
  tesselctl ops brightness
  tesselctl ops -v ScreenInfo::setBrightness
  tesselctl --json ops | jq .)";

struct Options
{
    QString filter;
    bool all = false;
    bool verbose = false;
};

/// An operation as the list shows it.
struct Entry
{
    const Operation& operation;
    const ReferenceEntry& reference;
    ProbedRequests singleScreen; ///< what it sends to a device of this protocol
    ProbedRequests multiScreen;  ///< and of this one
};

/// The entry of an operation that was just added is its name, until the reference is written again.
ReferenceEntry entryOf(const QString& name)
{
    if (const ReferenceEntry* const known = referenceOf(name)) {
        return *known;
    }
    ReferenceEntry entry{};
    entry.name = name;
    return entry;
}

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
    const QString& mark = entry.reference.withoutEffect;
    QString text = entry.reference.name + arguments +
                   (mark.isEmpty() ? QString() : QStringLiteral("  (%1)").arg(mark)) + QLatin1Char('\n');
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
    return {{QStringLiteral("operation"), entry.reference.name},
            {QStringLiteral("usage"), entry.operation.usage()},
            {QStringLiteral("parameters"), parameters},
            {nameOf(Protocol::SingleScreen), listOf(entry.singleScreen)},
            {QStringLiteral("withoutEffect"),
             entry.reference.withoutEffect.isEmpty() ? QVariant() : entry.reference.withoutEffect},
            {nameOf(Protocol::MultiScreen), listOf(entry.multiScreen)}};
}

/// Lists the operations, with what they take and what they send, whose lines hold the filter, upper and lower
/// case being the same.
ExitCode runOps(const Settings& settings, const Options& options, Console& console)
{
    QVariantList list;
    QString lines;
    // What operations log about sample arguments helps nobody.
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    RequestProbe probe;
    const QStringList names = referenceNames(allOperations());
    for (int i = 0; i < names.size(); ++i) {
        const Operation& operation = allOperations()[static_cast<std::size_t>(i)];
        const ReferenceEntry reference = entryOf(names[i]);
        if (!options.all && !reference.withoutEffect.isEmpty()) {
            continue;
        }
        Entry entry{operation, reference, probe.requestsOf(operation, Protocol::SingleScreen), {}};
        entry.multiScreen = operation.choosesByProtocol() ? probe.requestsOf(operation, Protocol::MultiScreen)
                                                          : entry.singleScreen;
        const QString text = textOf(entry);
        if (!text.contains(options.filter, Qt::CaseInsensitive)) {
            continue;
        }
        QVariantMap object = objectOf(entry);
        if (options.verbose) {
            lines += text.section(QLatin1Char('\n'), 0, 0) + QLatin1Char('\n') + referenceText(reference) +
                     QLatin1Char('\n');
            object.insert(QStringLiteral("reference"), referenceObject(reference));
        } else {
            lines += text;
        }
        list.append(object);
    }
    console.out(settings.format() == Format::Table ? lines : formatted(list, settings.format()));
    if (list.isEmpty()) {
        console.error(QStringLiteral("no operation matches \"%1\"").arg(printable(options.filter)));
    }
    return Done;
}

} // namespace

void addOps(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser ops =
        parser.addCommand("ops", QStringLiteral("list the operations with arguments, verb and path"));
    ops.add("FILTER", options->filter, QStringLiteral("list only what contains this text"));
    ops.addFlag("-v,--verbose", options->verbose,
                QStringLiteral("print all that is known: bodies, time limits, caches, signals"));
    ops.addFlag("--all", options->all, QStringLiteral("list also what has no route or does nothing"));
    ops.setFooter(QString::fromUtf8(footer));
    ops.setRun([options](const Settings& settings, Console& console) {
        return runOps(settings, *options, console);
    });
}

} // namespace TesselCtl
