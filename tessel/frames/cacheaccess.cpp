// SPDX-License-Identifier: MIT
#include <tessel/frames/cacheaccess.h>

namespace Tessel {

bool copyElement(const QList<QVariant>& list, const QString& id, QMap<QString, QVariant>& out)
{
    return copyElementWhere(
        list, [wanted = QVariant(id)](const QVariant& found) { return wanted == found; }, out);
}

} // namespace Tessel
