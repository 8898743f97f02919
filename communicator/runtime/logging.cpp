// SPDX-License-Identifier: MIT
#include "communicator/runtime/logging.h"

namespace Krelm::Communicator::HttpDevice {

Q_LOGGING_CATEGORY(httpLog, "tessel.http", QtWarningMsg)
Q_LOGGING_CATEGORY(eventLog, "tessel.events", QtWarningMsg)

QString printableKey(const QString& deviceKey)
{
    QString key = deviceKey;
    const auto at = key.lastIndexOf(QLatin1Char('@'));
    if (at >= 0) {
        key = QStringLiteral("***") + key.mid(at);
    }
    const auto query = key.indexOf(QLatin1Char('?'));
    if (query >= 0) {
        key = key.left(query) + QStringLiteral("?***");
    }
    for (QChar& character : key) {
        if (character.category() == QChar::Other_Control) {
            character = QLatin1Char('?');
        }
    }
    return key;
}

} // namespace Krelm::Communicator::HttpDevice
