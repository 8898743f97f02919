// SPDX-License-Identifier: MIT
#include "tesselctl/commands/updatewatch.h"

#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>

#include <QElapsedTimer>

namespace TesselCtl {

namespace {

// An update that gets no further for so long is given up; cards that restart are silent for a while.
constexpr qint64 stallTimeout = 120000; // milliseconds

} // namespace

Outcome readUpdateProgress(const QString& device, bool controller, QMap<QString, QVariant>& reply)
{
    CallObserver exchanges;
    const CallObserver::Scope scope = exchanges.collect();
    if (controller) {
        HWInfo::getInstance()->getHWInfoUpdateProgress(device, reply);
    } else {
        CabinetInfoOperator::getInstance()->getRvCardsUpdateProgress(device, reply);
    }
    return exchanges.outcome();
}

Outcome UpdateWatch::look()
{
    QMap<QString, QVariant> reply;
    Outcome outcome = readUpdateProgress(m_device, m_controller, reply);
    m_latest = updateProgressOf(reply);
    if (m_latest.share >= 0) {
        m_bar.show(m_latest.share, m_latest.state);
    }
    return outcome;
}

Outcome UpdateWatch::waitUntilDone(const Outcome& silence)
{
    QElapsedTimer still;
    still.start();
    double reached = -1;
    Outcome outcome;
    do {
        outcome = look();
        if (m_latest.failed) {
            return {Failed, QStringLiteral("the device reports: ") + m_latest.state};
        }
        if (outcome.code == Done && m_latest.share < 0) {
            return silence;
        }
        if (outcome.code == Refused || m_latest.share >= 1) {
            return outcome;
        }
        if (m_latest.share > reached) {
            reached = m_latest.share;
            still.restart();
        }
        if (still.hasExpired(stallTimeout)) {
            const QString stopped =
                QStringLiteral("no progress for %1").arg(durationText(stallTimeout / 1000));
            return outcome.code == Done ? Outcome{TimedOut, stopped} : outcome;
        }
    } while (m_run.interruption().pause(updatePollInterval));
    return {Failed, {}};
}

} // namespace TesselCtl
