// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_LIVERUN_H
#define TESSELCTL_LIVERUN_H

#include "tesselctl/commands/commandrun.h"

#include <QString>
#include <QVariantMap>

namespace TesselCtl {

/// A command that prints what devices do until it is stopped: by a signal, when its time is over, when
/// stop() is called, or when nobody reads its output any more.
class LiveRun : public CommandRun
{
public:
    LiveRun(const Settings& settings, Console& console);
    /// For devices that another run has read.
    LiveRun(const Settings& settings, Console& console, std::vector<Device> devices);

    bool asJson() const { return settings().format() != Format::Table; }
    /// Prints @p list as a whole, in the format that was asked for.
    void printList(const QVariantList& list) { print(formatted(list, settings().format())); }

    /// Makes the devices known to the transport and runs the event loop until the command is stopped, for at
    /// most @p seconds unless they are 0. @return whether it ran; otherwise the console has shown why not.
    bool run(int seconds = 0);
    /// Makes run() return.
    static void stop();

    void print(const QString& text);
    /// Prints @p object, together with the time: as JSON on a line of its own, or as a document of YAML.
    void printJson(QVariantMap object);
    void error(const QString& text) { console().error(text); }

private:
    void beginLive();
};

} // namespace TesselCtl

#endif
