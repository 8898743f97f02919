// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/progressbar.h"

#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/terminal.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <future>

namespace TesselCtl {

namespace {

void writeToTerminal(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stderr);
}

} // namespace

double fraction(qint64 done, qint64 all)
{
    return all > 0 ? std::clamp(static_cast<double>(done) / static_cast<double>(all), 0.0, 1.0) : 1;
}

QString durationText(qint64 seconds)
{
    if (seconds < 60) {
        return QStringLiteral("%1 s").arg(seconds);
    }
    if (seconds < 3600) {
        return QStringLiteral("%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
    }
    return QStringLiteral("%1 h %2 min").arg(seconds / 3600).arg(seconds / 60 % 60);
}

QString transferText(const Transfer& transfer)
{
    QString text = humanSize(transfer.bytes);
    if (transfer.bytesInAll >= 0) {
        text += QStringLiteral(" of ") + humanSize(transfer.bytesInAll);
    }
    if (!transfer.partName.isEmpty()) {
        text = QStringLiteral("%1 of %2 %3, %4")
                   .arg(transfer.parts)
                   .arg(transfer.partsInAll)
                   .arg(transfer.partName, text);
    }
    if (transfer.bytes <= 0 || transfer.milliseconds <= 0) {
        return text;
    }
    const double rate =
        static_cast<double>(transfer.bytes) * 1000 / static_cast<double>(transfer.milliseconds);
    text += QStringLiteral(", %1/s").arg(humanSize(std::llround(rate)));
    const qint64 remaining = transfer.bytesInAll - transfer.bytes;
    if (remaining > 0) {
        text += QStringLiteral(", %1 left")
                    .arg(durationText(std::llround(std::ceil(static_cast<double>(remaining) / rate))));
    }
    return text;
}

QString progressLine(const QString& label, double share, const QString& details, int columns)
{
    if (share < 0) {
        return cutToColumns(printable(label) + QStringLiteral("  ") + details, columns);
    }
    const int width = 20;
    const double known = std::clamp(share, 0.0, 1.0);
    const int filled = static_cast<int>(known * width);
    const QString bar = QString(filled, QLatin1Char('#')) + QString(width - filled, QLatin1Char('-'));
    // Rounded down, so that 100 % means finished.
    const int percent = static_cast<int>(known * 100);
    const QString line =
        QStringLiteral("%1  [%2] %3 %  %4").arg(printable(label), bar).arg(percent, 3).arg(details);
    return cutToColumns(line, columns);
}

ProgressBar::ProgressBar(const QString& label, Console& console)
    : m_label(label)
    , m_inPlace(isTerminal(stderr) && !console.isTraced() && !console.isQuiet())
    , m_console(console)
{}

ProgressBar::~ProgressBar()
{
    clear();
}

void ProgressBar::show(double share, const QString& details)
{
    if (m_inPlace) {
        m_painted = true;
        writeToTerminal(QStringLiteral("\r\x1b[K") +
                        progressLine(m_label, share, details, terminalColumns(stderr) - 1));
        return;
    }
    const int tenths = share < 0 ? -1 : static_cast<int>(std::min(share, 1.0) * 10);
    if (tenths == m_tenths) {
        return;
    }
    m_tenths = tenths;
    const QString percent = tenths < 0 ? QString() : QStringLiteral("%1 %, ").arg(tenths * 10);
    m_console.info(printable(m_label) + QStringLiteral(": ") + percent + details);
}

void ProgressBar::clear()
{
    if (m_painted) {
        writeToTerminal(QStringLiteral("\r\x1b[K"));
    }
    m_painted = false;
}

void workAndShow(const std::function<void()>& work, const std::function<void()>& meanwhile)
{
    std::future<void> done = std::async(std::launch::async, work);
    while (done.wait_for(redrawInterval) != std::future_status::ready) {
        meanwhile();
    }
    done.get();
}

} // namespace TesselCtl
