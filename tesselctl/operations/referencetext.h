// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_OPERATIONS_REFERENCETEXT_H
#define TESSELCTL_OPERATIONS_REFERENCETEXT_H

#include <operations/reference.h>

#include <QString>
#include <QVariant>

namespace TesselCtl {

using Tessel::Operations::ReferenceEntry;

/// The entry as indented lines of text: what the operation does, its warnings, each request with time limit,
/// bodies and their members, caches and signals.
QString referenceText(const ReferenceEntry& entry);

/// The same as an object, for JSON.
QVariantMap referenceObject(const ReferenceEntry& entry);

} // namespace TesselCtl

#endif
