// SPDX-License-Identifier: MIT
#include "tesselctl/commands/resumecommand.h"

#include "tesselctl/terminal/printable.h"

#include <QRegularExpression>

namespace TesselCtl {

QString shellWord(const QString& word)
{
    static const QRegularExpression harmless(QStringLiteral("^[A-Za-z0-9_@%+=:,./-]+$"));
    if (harmless.match(word).hasMatch()) {
        return word;
    }
    QString quoted = word;
    if (printable(word) == word) {
        return QLatin1Char('\'') + quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''")) +
               QLatin1Char('\'');
    }
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    quoted.replace(QLatin1Char('\''), QStringLiteral("\\'"));
    return QStringLiteral("$'%1'").arg(printable(quoted));
}

QString resumeCommand(const Settings& settings, const QString& device, const QStringList& command)
{
    QStringList words{QStringLiteral("tesselctl")};
    const auto option = [&words](const QString& name, const QString& value) {
        if (!value.isEmpty()) {
            words << name << shellWord(value);
        }
    };
    // One of a group of the devices file is given by its name.
    QString given = device;
    for (const QString& text : settings.devices.devices) {
        if (text.startsWith(device + QLatin1Char('='))) {
            given = text;
        }
    }
    option(QStringLiteral("--devices"), settings.devices.file);
    option(QStringLiteral("--device"), given);
    option(QStringLiteral("--login"), settings.devices.login);
    option(QStringLiteral("--user"), settings.devices.user);
    option(QStringLiteral("--secret-env"), settings.devices.secretVariable);
    option(QStringLiteral("--secret-file"), settings.devices.secretFile);
    option(QStringLiteral("--ca-file"), settings.devices.caFile);
    option(QStringLiteral("--pinned-key"), settings.devices.pinnedKey);
    if (settings.devices.insecure) {
        words << QStringLiteral("--insecure");
    }
    if (settings.json) {
        words << QStringLiteral("--json");
    }
    if (settings.trace) {
        words << QStringLiteral("--trace");
    }
    for (const QString& word : command) {
        words << shellWord(word);
    }
    return words.join(QLatin1Char(' '));
}

} // namespace TesselCtl
