// SPDX-License-Identifier: MIT
#include "tesselctl/commands/updateprogress.h"

#include "tesselctl/terminal/printable.h"

#include <QStringList>

#include <algorithm>

namespace TesselCtl {

UpdateProgress updateProgressOf(const QVariantMap& reply)
{
    UpdateProgress progress;
    for (const char* name : {"progress", "percent"}) {
        bool isNumber = false;
        const double percent = reply.value(QLatin1String(name)).toDouble(&isNumber);
        if (isNumber && percent >= 0 && progress.share < 0) {
            progress.share = std::min(percent, 100.0) / 100;
        }
    }
    for (const char* name : {"state", "status"}) {
        const QVariant word = reply.value(QLatin1String(name));
        if (word.userType() == QMetaType::QString && progress.state.isEmpty()) {
            progress.state = printable(word.toString());
        }
    }
    const QStringList failures{QStringLiteral("failed"), QStringLiteral("failure"), QStringLiteral("error")};
    progress.failed = failures.contains(progress.state, Qt::CaseInsensitive);
    return progress;
}

} // namespace TesselCtl
