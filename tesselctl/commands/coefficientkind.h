// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COEFFICIENTKIND_H
#define TESSELCTL_COEFFICIENTKIND_H

#include <tessel/coefficientkinds.h>
#include <tessel/correctionop.h>

#include <QtPromise>

namespace TesselCtl {

/// What the library has for a kind of coefficients; null where it has nothing.
struct CoefficientKind
{
    using Map = QMap<QString, QVariant>;
    using List = QList<QVariant>;
    using Upload = QtPromise::QPromise<bool> (Correctionop::*)(const QString&, const List&);
    using CabinetUpload = QtPromise::QPromise<Map> (Correctionop::*)(const QString&, const QString&,
                                                                     const List&);
    using Load = bool (Correctionop::*)(const QString&, const QString&, List&);
    using Action = bool (Correctionop::*)(const QString&, const Map&, Map&);

    Tessel::CoefficientKind kind;
    bool loadsByCabinet; ///< tables are read one cabinet at a time, by its id
    Upload upload;
    // One cabinet by itself. The dynamic and low-gray forms have no path that names the cabinet, so these two
    // go as one list.
    CabinetUpload uploadCabinet;
    Load load;
    Action save;
    Action clear;
};

/// What --kind takes.
QStringList coefficientKindNames();

/// The kind called @p name, which is one of those that the command line lets through.
const CoefficientKind& coefficientKind(const QString& name);

/// `cabinet 3`, or `all cabinets` for an empty id.
QString cabinetText(const QString& cabinet);

} // namespace TesselCtl

#endif
