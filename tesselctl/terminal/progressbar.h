// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_PROGRESSBAR_H
#define TESSELCTL_TERMINAL_PROGRESSBAR_H

#include "tesselctl/terminal/console.h"

#include <QString>

#include <chrono>
#include <functional>
#include <optional>

namespace TesselCtl {

/// How far a transfer is.
struct Transfer
{
    qint64 bytes = 0;
    qint64 bytesInAll = 0; ///< -1: not known
    int parts = 0;
    int partsInAll = 0;
    QString partName;        ///< in the plural, such as "cabinets"; empty: it has no parts
    qint64 milliseconds = 0; ///< since it began
};

/// A share between 0 and 1 of @p done in @p all; 1 when there is nothing to do.
double fraction(qint64 done, qint64 all);

/// `3 of 12 cabinets, 1.2 MB of 4.8 MB, 400.0 kB/s, 9 s left`; parts, the whole size, rate and time left
/// are there only where they are known.
QString transferText(const Transfer& transfer);

/// Seconds for people: `9 s`, `2 min 5 s`, `1 h 3 min`.
QString durationText(qint64 seconds);

/// `wall  [#####---------------]  25 %  details`, cut to @p columns; `wall  details` when the share is not
/// known, which is below 0.
QString progressLine(const QString& label, double share, const QString& details, int columns);

/// Shows on standard error how far something is: a bar that stays in its place on a terminal; elsewhere, and
/// among the lines of a trace, a line at the start, at the end and for every tenth on the way.
class ProgressBar
{
public:
    ProgressBar(const QString& label, Console& console);
    ~ProgressBar();

    /// Shows that @p share of 1 is done, or, below 0, that the share is not known; @p details follow the bar.
    void show(double share, const QString& details);
    /// Takes the bar away, so that other lines can be written; show() brings it back.
    void clear();

private:
    const QString m_label;
    const bool m_inPlace;
    Console& m_console;
    bool m_painted = false;      // is on the terminal
    std::optional<int> m_tenths; // shown last, where it is no terminal
    Q_DISABLE_COPY_MOVE(ProgressBar)
};

/// Does @p work on a thread of its own, since it waits for the network, and calls @p meanwhile on this one
/// several times a second until the work is done.
void workAndShow(const std::function<void()>& work, const std::function<void()>& meanwhile);

/// Time between two looks at what is under way.
constexpr std::chrono::milliseconds redrawInterval(200);

} // namespace TesselCtl

#endif
