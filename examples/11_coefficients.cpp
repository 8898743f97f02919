// SPDX-License-Identifier: MIT
//
// Uploads the correction coefficients of some cabinets, with progress, and saves them.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <communicator/exchangeobserver.h>
#include <tessel/correctionop.h>

#include <QTextStream>

#include <atomic>

using namespace Krelm::Communicator::HttpDevice;

namespace {

/// A table as the application computes it; the device defines its members.
QList<QVariant> tableOf(int modules)
{
    QList<QVariant> table;
    for (int module = 0; module < modules; ++module) {
        table.append(QVariantMap{{"module", module}, {"coefficient", QString(40000, QLatin1Char('A'))}});
    }
    return table;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;
    const QString wall = devices.addresses.first();
    QTextStream out(stdout);

    //! [progress]
    // Called on the thread that sends, many times for each cabinet. A window would post the numbers to
    // itself.
    std::atomic<qint64> sent{0};
    std::atomic<qint64> total{0};
    const ObserverHandle observer = addProgressObserver([&](const ExchangeProgress& progress) {
        if (progress.verb == "PUT") {
            sent = progress.bytesSent;
            total = progress.bytesToSend;
        }
    });
    //! [progress]

    //! [upload]
    Correctionop* const correction = Correctionop::getInstance();
    const QStringList cabinets{"1", "2", "3"};
    for (const QString& cabinet : cabinets) {
        QMap<QString, QVariant> reply;
        const bool answered = correction->uploadCoefficient(wall, cabinet, tableOf(8), reply);
        if (!answered || OperationOutcome::last().hasFailed()) {
            out << OperationOutcome::last().text() << '\n';
            return 1;
        }
        out << "cabinet " << cabinet << ": " << 100 * sent / total << " %\n";
    }
    //! [upload]

    //! [save]
    // Until now they are only loaded; this stores them, and may take six minutes.
    QMap<QString, QVariant> reply;
    const QMap<QString, QVariant> body{{"ids", QVariantList{"1", "2", "3"}}};
    if (!correction->saveCabinetsCoeffcient(wall, body, reply) || OperationOutcome::last().hasFailed()) {
        out << OperationOutcome::last().text() << '\n';
        return 1;
    }
    out << "saved\n";
    //! [save]
    return 0;
}
