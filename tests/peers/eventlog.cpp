// SPDX-License-Identifier: MIT
#include "eventlog.h"

#include <communicator/httpproxy.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

constexpr int timeout = 60000;
const QString number = QStringLiteral("number");

} // namespace

EventLog::EventLog(Tessel::Simulator::Simulator& simulator, const QString& deviceKey)
    : m_simulator(simulator)
{
    QObject::connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, &m_context,
                     [this, deviceKey](const QByteArray& data, const QString& key) {
                         const QJsonObject event = QJsonDocument::fromJson(data).object();
                         // What is told in place of events that may have been missed has no number.
                         if (key == deviceKey && event.contains(number)) {
                             m_arrived << event.value(number).toInt();
                         }
                     });
}

void EventLog::push(int count)
{
    for (int i = 0; i < count; ++i) {
        m_simulator.pushEvent(
            QJsonDocument(
                QJsonObject{{number, ++m_pushed}, {QStringLiteral("eventType"), QStringLiteral("test")}})
                .toJson(QJsonDocument::Compact));
    }
}

bool EventLog::waitForAll()
{
    return QTest::qWaitFor([this] { return m_arrived.size() >= m_pushed; }, timeout);
}

bool EventLog::waitForAllAndPush()
{
    const int wanted = m_pushed;
    return QTest::qWaitFor(
        [this, wanted] {
            if (m_arrived.size() < wanted) {
                push(5);
            }
            return m_arrived.size() >= wanted;
        },
        timeout);
}

QByteArray EventLog::disorder() const
{
    for (int i = 0; i < m_arrived.size(); ++i) {
        if (m_arrived[i] != i + 1) {
            return "event " + QByteArray::number(m_arrived[i]) + " came in the place of " +
                   QByteArray::number(i + 1);
        }
    }
    return m_arrived.isEmpty() ? "nothing came" : QByteArray();
}
