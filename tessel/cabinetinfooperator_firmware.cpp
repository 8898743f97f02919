// SPDX-License-Identifier: MIT
//
// The receiving cards as a whole: their list, their firmware, and what the modules store.
#include <tessel/cabinetinfooperator.h>

#include <tessel/request.h>

using Tessel::asParsed;
using Tessel::copyEntry;
using Tessel::Request;

// Neither looks at the watch flag nor fills the cache: only an event does that, with flattened elements. Kept
// so.
bool CabinetInfoOperator::getRvCardsList(const QString& deviceKey, QList<QVariant>& out)
{
    return copyEntry(m_rvCardsInfo.contains(deviceKey), m_rvCardsInfo, deviceKey, out) ||
           Request("Device_RvCards").get(deviceKey, asParsed(out));
}
