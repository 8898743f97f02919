// SPDX-License-Identifier: MIT
//
// Updates the firmware of a controller and follows the progress.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <tessel/hwinfo.h>

#include <QTextStream>
#include <QThread>

using Krelm::Communicator::HttpDevice::OperationOutcome;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;
    const QString wall = devices.addresses.first();
    const QByteArray firmware(100000, 'F'); // the content of the file
    QTextStream out(stdout);

    //! [upload]
    QMap<QString, QVariant> reply;
    if (!HWInfo::getInstance()->putHWInfoUpdate(wall, firmware, reply) ||
        OperationOutcome::last().hasFailed()) {
        out << OperationOutcome::last().text() << '\n';
        return 1;
    }
    //! [upload]

    //! [progress]
    // A controller that restarts does not answer for a while: some reads may fail, but not all of them.
    int percent = 0;
    for (int failures = 0; percent < 100 && failures < 60;) {
        QMap<QString, QVariant> progress;
        if (HWInfo::getInstance()->getHWInfoUpdateProgress(wall, progress)) {
            percent = progress["progress"].toInt();
            out << percent << " % " << progress["state"].toString() << '\n';
        } else {
            ++failures;
        }
        QThread::msleep(50); // a real update takes minutes; once a second is enough
    }
    //! [progress]
    return percent == 100 ? 0 : 1;
}
