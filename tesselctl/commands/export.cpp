// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/wallcopy.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/question.h"
#include "tesselctl/terminal/terminal.h"

#include <files/atomicfile.h>

#include <utility>

namespace TesselCtl {

using Tessel::Files::AtomicFile;

namespace {

const char* const exportFooter = R"(
Reads whatever the device lets be read of the wall, some hundred values, and writes it into FILE, which "diff" and
"apply" read. It is JSON: the values by their paths, as the device sent them, and what could not be read and why. Logins
are not in it. The file is replaced as a whole or left unchanged.

Examples:
  tesselctl --device 192.168.0.10 export wall.json)";

const char* const diffFooter = R"(
Compares two walls: the files that are given, which "export" has written, and the devices. What a device measures or
counts by itself is not compared. The exit code is 0 if nothing differs, and 1 if something does.

Examples:
  tesselctl --device 192.168.0.10 diff export.json
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 diff
  tesselctl diff before.json after.json)";

const char* const applyFooter = R"(
Shows what it would write to make the wall like the one in FILE, which "export" has written, and writes it with --yes or
after a question on a terminal. Names, and the settings of screens, inputs and pipelines are written; what else differs
is listed by "diff" and stays as it is.

Examples:
  tesselctl --device 192.168.0.10 apply export.json
  tesselctl --device 192.168.0.10 apply export.json --yes)";

ExitCode runExport(const Settings& settings, const QString& path, Console& console)
{
    DeviceRun run(settings, console);
    if (run.devices().size() != 1) {
        if (!run.devices().empty()) {
            console.error(QStringLiteral("a file takes one wall; give one --device"));
        }
        return Usage;
    }
    DeviceRun::Kind kind;
    kind.isRead = true;
    return run.forEach(
        [&](const QString& device) -> DeviceRun::Result {
            Wall wall(device, settings);
            const WallCopy copy = copyOf(wall);
            if (wall.outcome().code != Done) {
                return {wall.outcome(), {}, {}};
            }
            AtomicFile file(path);
            const QByteArray text = toJson(copy.toObject(), true) + '\n';
            if (!file.open() || !file.write(text.constData(), text.size()) || !file.commit()) {
                return {{Failed, QStringLiteral("%1: %2").arg(printable(path), file.error())}, {}, {}};
            }
            const QVariantMap value{{QStringLiteral("file"), path},
                                    {QStringLiteral("values"), copy.values.size()},
                                    {QStringLiteral("unreadable"), copy.unreadable.size()}};
            return wall.result(
                value, QStringLiteral(": %1 values in %2\n").arg(copy.values.size()).arg(printable(path)));
        },
        kind);
}

/// The copies of all devices, in their order; none after a failure, which is shown.
std::vector<WallCopy> readWalls(DeviceRun& run, const Settings& settings, ExitCode& code, Console& console)
{
    DeviceRun::Kind kind;
    kind.isRead = true;
    std::vector<WallCopy> copies;
    run.collect(
        [&](const QString& device) -> DeviceRun::Result {
            Wall wall(device, settings);
            const QVariantMap copy = copyOf(wall).toObject();
            return {wall.outcome(), copy, {}};
        },
        kind,
        [&](const QString& device, const DeviceRun::Result& result) {
            if (result.outcome.code != Done) {
                console.error(QStringLiteral("%1: %2").arg(printable(device), result.outcome.error));
                code = code == Done ? result.outcome.code : code;
                return;
            }
            const QVariantMap copy = result.value->toMap();
            copies.push_back({copy.value(QStringLiteral("protocol")).toString(),
                              copy.value(QStringLiteral("values")).toMap(),
                              {}});
        });
    return copies;
}

ExitCode runDiff(const Settings& settings, const QStringList& files, Console& console)
{
    std::vector<WallCopy> copies;
    for (const QString& path : files) {
        const Expected<WallCopy> copy = WallCopy::fromFile(path);
        if (!copy) {
            console.error(copy.error());
            return Usage;
        }
        copies.push_back(*copy);
    }
    ExitCode code = Done;
    if (!settings.devices.devices.isEmpty()) {
        DeviceRun run(settings, console);
        if (run.devices().empty()) {
            return Usage;
        }
        for (WallCopy& copy : readWalls(run, settings, code, console)) {
            copies.push_back(std::move(copy));
        }
    }
    if (code != Done) {
        return code;
    }
    if (copies.size() != 2) {
        console.error(
            QStringLiteral("two walls are compared, not %1; give two files, two devices, or one of each")
                .arg(copies.size()));
        return Usage;
    }
    const Expected<QVariantList> differences = arranged(differencesOf(copies[0], copies[1]), settings.table);
    if (!differences) {
        console.error(differences.error());
        return Usage;
    }
    if (settings.format() != Format::Table) {
        console.out(formatted(*differences, settings.format()));
    } else if (!differences->isEmpty()) {
        const QStringList columns{QStringLiteral("where"), QStringLiteral("left"), QStringLiteral("right")};
        console.out(tableText(
            *differences, settings.table.columns.isEmpty() ? columns : settings.table.columns, tableWidth()));
    }
    return differences->isEmpty() ? Done : Failed;
}

ExitCode runApply(const Settings& settings, const QString& path, Console& console)
{
    const Expected<WallCopy> wanted = WallCopy::fromFile(path);
    if (!wanted) {
        console.error(wanted.error());
        return Usage;
    }
    // Without a terminal and --yes it only shows what it would do.
    Settings chosen = settings;
    chosen.dryRun = settings.dryRun || (!settings.yes && !canAsk());
    DeviceRun run(chosen, console);
    if (run.devices().empty()) {
        return Usage;
    }
    if (!run.mayDo(QStringLiteral("Apply %1 to the wall").arg(printable(path)))) {
        return Failed;
    }
    return run.forEach(
        [&](const QString& device) -> DeviceRun::Result {
            Wall wall(device, chosen);
            const WallCopy now = copyOf(wall);
            if (wall.outcome().code == Done && now.protocol != wanted->protocol) {
                return {{Failed, QStringLiteral("it speaks the %1 protocol, the wall in the file the %2 one")
                                     .arg(now.protocol, wanted->protocol)},
                        {},
                        {}};
            }
            const std::vector<CopyWrite> writes = writesFor(now, *wanted);
            for (const CopyWrite& write : writes) {
                wall.write([&] { return wall.put(write.path, write.body); });
            }
            return wall.result(static_cast<int>(writes.size()),
                               QStringLiteral(": %1 values written\n").arg(writes.size()));
        },
        DeviceRun::Kind());
}

} // namespace

void addExport(CommandParser& parser)
{
    const auto path = std::make_shared<QString>();
    CommandParser command =
        parser.addCommand("export", QStringLiteral("write all that can be read of a wall to a file"));
    command.add("FILE", *path, QStringLiteral("where to")).required().placeholder("");
    command.setFooter(QString::fromUtf8(exportFooter));
    command.setRun(
        [path](const Settings& settings, Console& console) { return runExport(settings, *path, console); });
}

void addDiff(CommandParser& parser)
{
    const auto files = std::make_shared<QStringList>();
    CommandParser diff = parser.addCommand("diff", QStringLiteral("compare two walls, or a wall and a file"));
    diff.add("FILE", *files, QStringLiteral("a file that export has written")).placeholder("...");
    diff.setFooter(QString::fromUtf8(diffFooter));
    diff.setRun(
        [files](const Settings& settings, Console& console) { return runDiff(settings, *files, console); });
}

void addApply(CommandParser& parser)
{
    const auto path = std::make_shared<QString>();
    CommandParser apply = parser.addCommand("apply", QStringLiteral("make a wall like the one in a file"));
    apply.add("FILE", *path, QStringLiteral("a file that export has written")).required().placeholder("");
    apply.setFooter(QString::fromUtf8(applyFooter));
    apply.setRun(
        [path](const Settings& settings, Console& console) { return runApply(settings, *path, console); });
}

} // namespace TesselCtl
