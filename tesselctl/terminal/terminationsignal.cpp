// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/terminationsignal.h"

#include <QObject>

#include <utility>

namespace TesselCtl {

TerminationSignal::TerminationSignal(std::function<void()> received)
    : m_notifier(m_signals.descriptor(), QSocketNotifier::Read)
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                     [this, received = std::move(received)] {
                         if (m_signals.take() != 0) {
                             received();
                         }
                     });
}

} // namespace TesselCtl
