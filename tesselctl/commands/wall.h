// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_WALL_H
#define TESSELCTL_COMMANDS_WALL_H

#include "tesselctl/commands/devicerun.h"

#include <QString>
#include <QVariant>

#include <functional>

namespace TesselCtl {

/// The wall behind one device, as the tasks of the command line see it. Each function sends its requests when
/// it is called; after a failure, all others send nothing and return nothing. Used on the application's
/// thread.
class Wall
{
public:
    /// Asks the device which protocol it speaks.
    Wall(const QString& device, const Settings& settings);

    /// How the first failure came about, or that there was none.
    const Outcome& outcome() const { return m_outcome; }
    bool isMultiScreen() const { return m_isMultiScreen; }
    /// `single-screen` or `multi-screen`
    QString protocol() const;

    QVariantMap hardware();
    /// A map for each screen: screen, name, width, height, brightness, refreshRate, enable.
    QVariantList screens();
    /// A map for each cabinet: id, screen, output, x, y, width, height, brightness, temperature, voltage,
    /// version, online, bitErrors. What its receiving cards do not tell is missing.
    QVariantList cabinets();
    QVariantList inputs();
    QVariantList outputs();
    QVariantMap monitorState();

    /// The `data` at @p path as the device sends it, or why there is none; a path that the device refuses is
    /// no failure of the wall.
    Expected<QVariant> read(const QString& path);
    /// Writes @p body to @p path; for write().
    bool put(const QString& path, const QVariantMap& body) const;

    /// Has the device do something. With --dry-run it only notes what would be sent. @return whether it was
    /// done.
    bool write(const std::function<bool()>& operation);

    /// What came of it: @p value and @p text; or, with --dry-run, the requests that were not sent.
    DeviceRun::Result result(const QVariant& value, const QString& text) const;
    /// The same for a table.
    DeviceRun::Result result(const QVariantList& rows) const { return result(rows, {}); }

private:
    bool perform(const std::function<bool()>& operation);

    const QString m_device;
    const Settings& m_settings;
    Outcome m_outcome;
    bool m_isMultiScreen = false;
    QVariantList m_unsent;
};

/// A task that prints one table of all devices, of what @p rows reads from each. @p columns: the usual ones,
/// in their order.
ExitCode runTable(const Settings& settings, Console& console, const QStringList& columns,
                  const std::function<QVariantList(Wall& wall)>& rows);

/// A task that changes something on each device.
ExitCode runChange(const Settings& settings, Console& console,
                   const std::function<DeviceRun::Result(Wall& wall, const QString& device)>& change);

} // namespace TesselCtl

#endif
