// SPDX-License-Identifier: MIT
#include "singleshots.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QPointer>
#include <QTimerEvent>

#include <limits>

int fireSingleShots(int interval, int count)
{
    // Qt makes each single shot a child of the thread's dispatcher.
    QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
    QList<QPointer<QObject>> shots;
    for (QObject* child : dispatcher->children()) {
        shots << child;
    }
    int fired = 0;
    for (const QPointer<QObject>& shot : shots) {
        if (fired == count) {
            break;
        }
        if (!shot) {
            continue;
        }
        for (const QAbstractEventDispatcher::TimerInfo& timer : dispatcher->registeredTimers(shot)) {
            if (timer.interval != interval) {
                continue;
            }
            QTimerEvent timeout(timer.timerId);
            QCoreApplication::sendEvent(shot, &timeout);
            ++fired;
            break;
        }
    }
    return fired;
}

void fireAllSingleShots(int interval)
{
    fireSingleShots(interval, std::numeric_limits<int>::max());
}
