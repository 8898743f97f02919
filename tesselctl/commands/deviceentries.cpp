// SPDX-License-Identifier: MIT
#include "tesselctl/commands/deviceentries.h"

#include "tesselctl/requests/devicesfile.h"
#include "tesselctl/requests/secret.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

#include <utility>

namespace TesselCtl {

namespace {

const char* const addFooter = R"(
--login, --user, --secret-file, --ca-file, --pinned-key and --insecure say how to log in to this device and how to know
it. The devices file names the file with the password or token, which nobody but you may read (chmod 600). Everything
else in the devices file stays as it is.

Examples:
  tesselctl devices add side 192.168.0.10
  tesselctl devices add side 192.168.0.10 --site arena --group stage --group led
  tesselctl devices add side https://192.168.0.10 --login digest --user admin --secret-file side.pw)";

const char* const removeFooter = R"(
Examples:
  tesselctl devices remove left right)";

const char* const checkFooter = R"(
Sends nothing: looks at the addresses, the logins, and the files with secrets and authorities. The exit code is 1 if
something is wrong.

Examples:
  tesselctl devices check)";

const char* const namesFooter = R"(
Prints what --device takes of the devices file, each on a line: the names, and the groups with their @. Completions of
shells use it.

Examples:
  tesselctl devices names)";

Expected<DevicesFile> open(const Settings& settings, bool mustExist)
{
    return DevicesFile::read(DevicesFile::pathFor(settings.devices.file), mustExist);
}

/// What is wrong with a device of the file; empty if nothing is.
QString mistakeIn(const DeviceEntry& entry)
{
    auto endpoint = endpointOf(entry);
    if (!endpoint) {
        return endpoint.error();
    }
    if (!entry.secretFile.isEmpty()) {
        if (const Expected<void> usable = checkPrivateSecret(entry.secretFile); !usable) {
            return usable.error();
        }
    }
    if (!entry.caFile.isEmpty() && !QFile(entry.caFile).open(QIODevice::ReadOnly)) {
        return QStringLiteral("%1 cannot be read").arg(printable(entry.caFile));
    }
    // Without a file, the terminal asks for it.
    (*endpoint).secret = entry.login.isEmpty() ? QString() : QStringLiteral("secret");
    return addDevices({{entry.name, *endpoint}}).error();
}

ExitCode runAdd(const Settings& settings, DeviceEntry entry, Console& console)
{
    const DeviceSettings& given = settings.devices;
    if (!given.devices.isEmpty() || !given.secretVariable.isEmpty()) {
        console.error(QStringLiteral(
            "devices add takes no --device and no --secret-env; give NAME and ADDRESS, and the "
            "password or token in a --secret-file"));
        return Usage;
    }
    const auto absolute = [](const QString& path) {
        return path.isEmpty() ? path : QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    };
    entry.login = given.login;
    entry.user = given.user;
    entry.secretFile = absolute(given.secretFile);
    entry.caFile = absolute(given.caFile);
    entry.pinnedKey = given.pinnedKey;
    entry.insecure = given.insecure;
    if (const QString mistake = mistakeIn(entry); !mistake.isEmpty()) {
        console.error(mistake);
        return Usage;
    }
    Expected<DevicesFile> file = open(settings, false);
    if (!file) {
        console.error(file.error());
        return Usage;
    }
    if (const Expected<void> added = (*file).add(entry); !added) {
        console.error(added.error());
        return Failed;
    }
    console.out(QStringLiteral("%1: added to %2\n").arg(printable(entry.name), printable((*file).path())));
    return Done;
}

ExitCode runRemove(const Settings& settings, const QStringList& names, Console& console)
{
    Expected<DevicesFile> file = open(settings, true);
    if (!file) {
        console.error(file.error());
        return Usage;
    }
    if (const Expected<void> removed = (*file).remove(names); !removed) {
        console.error(removed.error());
        return Failed;
    }
    for (const QString& name : names) {
        console.out(QStringLiteral("%1: removed from %2\n").arg(printable(name), printable((*file).path())));
    }
    return Done;
}

ExitCode runCheck(const Settings& settings, Console& console)
{
    const Expected<DevicesFile> file = open(settings, true);
    if (!file) {
        console.error(file.error());
        return Failed;
    }
    // What the transport says of an address is said here.
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false\ndefault.debug=false"));
    QVariantList json;
    QList<QStringList> rows;
    ExitCode code = Done;
    for (const DeviceEntry& entry : file->devices()) {
        const QString mistake = mistakeIn(entry);
        code = mistake.isEmpty() ? code : Failed;
        rows << QStringList{printable(entry.name), mistake.isEmpty() ? QStringLiteral("ok") : mistake};
        json << QVariantMap{{QStringLiteral("device"), entry.name},
                            {QStringLiteral("mistake"), mistake.isEmpty() ? QVariant() : mistake}};
    }
    console.out(settings.format() == Format::Table ? aligned(rows) : formatted(json, settings.format()));
    return code;
}

ExitCode runNames(const Settings& settings, Console& console)
{
    const Expected<DevicesFile> file = open(settings, false);
    if (!file) {
        console.error(file.error());
        return Usage;
    }
    QStringList names;
    QStringList groups;
    for (const DeviceEntry& entry : file->devices()) {
        names << entry.name;
        for (const QString& group : entry.groups) {
            groups << QLatin1Char('@') + group;
        }
    }
    groups.removeDuplicates();
    names += groups;
    QString lines;
    for (const QString& name : std::as_const(names)) {
        lines += printable(name) + QLatin1Char('\n');
    }
    console.out(settings.format() == Format::Table
                    ? lines
                    : formatted(QVariantList(names.begin(), names.end()), settings.format()));
    return Done;
}

} // namespace

void addDeviceAdd(CommandParser& devices)
{
    const auto entry = std::make_shared<DeviceEntry>();
    CommandParser add = devices.addCommand("add", QStringLiteral("add a device to the devices file"));
    add.add("NAME", entry->name, QStringLiteral("what --device calls it")).required().placeholder("");
    add.add("ADDRESS", entry->address, QStringLiteral("HOST[:PORT] or http(s)://HOST[:PORT]"))
        .required()
        .placeholder("");
    add.add("--site", entry->site, QStringLiteral("where it is")).placeholder("SITE");
    add.add("--group", entry->groups, QStringLiteral("a group that it is in; repeatable"))
        .placeholder("GROUP")
        .repeatable();
    add.add("--comment", entry->comment, QStringLiteral("a note")).placeholder("TEXT");
    add.setFooter(QString::fromUtf8(addFooter));
    add.setRun(
        [entry](const Settings& settings, Console& console) { return runAdd(settings, *entry, console); });
}

void addDeviceRemove(CommandParser& devices)
{
    const auto names = std::make_shared<QStringList>();
    CommandParser remove =
        devices.addCommand("remove", QStringLiteral("remove devices from the devices file"));
    remove.add("NAME", *names, QStringLiteral("the devices")).required().placeholder("...");
    remove.setFooter(QString::fromUtf8(removeFooter));
    remove.setRun(
        [names](const Settings& settings, Console& console) { return runRemove(settings, *names, console); });
}

void addDeviceNames(CommandParser& devices)
{
    CommandParser names =
        devices.addCommand("names", QStringLiteral("print the names and groups of the devices file"));
    names.setFooter(QString::fromUtf8(namesFooter));
    names.setRun([](const Settings& settings, Console& console) { return runNames(settings, console); });
}

void addDeviceCheck(CommandParser& devices)
{
    CommandParser check =
        devices.addCommand("check", QStringLiteral("look for mistakes in the devices file"));
    check.setFooter(QString::fromUtf8(checkFooter));
    check.setRun([](const Settings& settings, Console& console) { return runCheck(settings, console); });
}

} // namespace TesselCtl
