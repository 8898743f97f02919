// SPDX-License-Identifier: MIT
//
// Blocking calls on a thread of their own, so that a window never waits for a device.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <communicator/exchangeid.h>
#include <tessel/hwinfo.h>

#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QTextStream>
#include <QThread>
#include <QTimer>

#include <algorithm>

using namespace Krelm::Communicator::HttpDevice;

//! [worker]
/// Calls the library on its own thread, which the caches belong to as well. The window only connects signals.
class WallWorker : public QObject
{
    Q_OBJECT
public:
    WallWorker()
    {
        moveToThread(&m_thread);
        m_thread.start();
    }
    ~WallWorker() override
    {
        m_calls.cancel(); // a call that waits for a device returns at once
        m_thread.quit();
        m_thread.wait();
    }

    /// Any thread. The answer is nameRead() or failed().
    void readName(const QString& wall)
    {
        QMetaObject::invokeMethod(this, [this, wall] {
            const ExchangeScope scope(m_calls);
            QMap<QString, QVariant> info;
            if (HWInfo::getInstance()->getHWInfo(wall, info, true)) {
                Q_EMIT nameRead(wall, info["customName"].toString());
            } else {
                Q_EMIT failed(wall, OperationOutcome::last().text());
            }
        });
    }

Q_SIGNALS:
    void nameRead(const QString& /*wall*/, const QString& /*name*/);
    void failed(const QString& /*wall*/, const QString& /*reason*/);

private:
    ExchangeIds m_calls;
    QThread m_thread;
};
//! [worker]

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules("tessel.http=false");
    Tessel::Simulator::Simulator answers;
    Tessel::Simulator::Simulator silent;
    Tessel::Simulator::Fault stall;
    stall.cut = Tessel::Simulator::Fault::Cut::Stall;
    stall.times = -1;
    silent.addFault(stall);
    if (!answers.start() || !silent.start()) {
        return 1;
    }
    QTextStream out(stdout);

    // Stands for the window: how long its thread was ever away from its event loop.
    QElapsedTimer sinceTick;
    qint64 longest = 0;
    QTimer tick;
    sinceTick.start();
    QObject::connect(&tick, &QTimer::timeout, &application,
                     [&] { longest = std::max(longest, sinceTick.restart()); });
    tick.start(10);

    {
        //! [window]
        WallWorker worker;
        QObject::connect(&worker, &WallWorker::nameRead, &application,
                         [&](const QString&, const QString& name) { out << "read: " << name << '\n'; });
        worker.readName(answers.address());
        worker.readName(silent.address()); // blocks the worker for as long as its time limit
        //! [window]
        QTimer::singleShot(2000, &application, &QCoreApplication::quit);
        QCoreApplication::exec();
    }

    out << "2 s with a device that does not answer: the window "
        << (longest < 1000 ? "was never frozen" : "was frozen") << '\n';
    return 0;
}

#include "09_worker.moc"
