// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/terminal/output.h"

#include <QLibrary>
#include <QRegularExpression>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Qt and libcurl are those that the program uses now, simdjson is the one that it was built with.

Examples:
  tesselctl version
  tesselctl version --output json)";

/// The version of the libcurl that the transport loads with the first connection.
QString curlVersion()
{
    constexpr int abiVersion = 4;
    QLibrary library(QStringLiteral("curl"), abiVersion);
    const auto version = reinterpret_cast<const char* (*)()>(library.resolve("curl_version"));
    if (!version) {
        return QStringLiteral("cannot be loaded");
    }
    static const QRegularExpression number(QStringLiteral("^libcurl/([\\w.+-]+)"));
    const QString told = QString::fromLatin1(version());
    const QRegularExpressionMatch match = number.match(told);
    return match.hasMatch() ? match.captured(1) : told;
}

ExitCode runVersion(const Settings& settings, Console& console)
{
    const QList<QStringList> rows{{QStringLiteral("tesselctl"), QStringLiteral(TESSEL_VERSION)},
                                  {QStringLiteral("Qt"), QString::fromLatin1(qVersion())},
                                  {QStringLiteral("libcurl"), curlVersion()},
                                  {QStringLiteral("simdjson"), QStringLiteral(TESSEL_SIMDJSON_VERSION)}};
    QVariantMap object;
    for (const QStringList& row : rows) {
        object.insert(row[0].toLower(), row[1]);
    }
    console.out(settings.format() == Format::Table ? aligned(rows) : formatted(object, settings.format()));
    return Done;
}

} // namespace

void addVersion(CommandParser& parser)
{
    CommandParser version = parser.addCommand(
        "version", QStringLiteral("print the versions of the program and of the libraries under it"));
    version.setFooter(QString::fromUtf8(footer));
    version.setRun([](const Settings& settings, Console& console) { return runVersion(settings, console); });
}

} // namespace TesselCtl
