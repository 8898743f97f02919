// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_VALUE_H
#define OPERATIONS_VALUE_H

#include <tessel/records/coeffsdata.h>

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

#include <vector>

/// The types of operation arguments and results, and their conversion to and from QVariant. A new type needs
/// a line in each of the three groups of overloads.
namespace Tessel::Operations {

/// How an argument is written on the command line.
enum class ValueType {
    Text,
    Integer,
    LongInteger,
    Boolean,
    Bytes,
    Map,
    Parts, ///< a map of the parts of a multipart form, some of which are files
    List,
    TextMap,
    TextList,
    MapList,
    Coefficients,
    AnyValue,
    MapOfMaps
};

/// The placeholder for a value of @p type in usage lines.
QString placeholderOf(ValueType type);

/// The type of an argument. The pointer selects the overload and is not used.
ValueType valueType(const QString*);
/// @cond overloads
ValueType valueType(const int*);
ValueType valueType(const qint64*);
ValueType valueType(const bool*);
ValueType valueType(const QByteArray*);
ValueType valueType(const QMap<QString, QVariant>*);
ValueType valueType(const QList<QVariant>*);
ValueType valueType(const QMap<QString, QString>*);
ValueType valueType(const QList<QString>*);
ValueType valueType(const std::vector<QMap<QString, QVariant>>*);
ValueType valueType(const QVariant*);
ValueType valueType(const QList<CoeffsData>*);
ValueType valueType(const QMap<QString, QMap<QString, QVariant>>*);
/// @endcond

/// Converts @p value to the type of the argument; an invalid value gives an empty one.
void fromVariant(const QVariant& value, QString& out);
/// @cond overloads
void fromVariant(const QVariant& value, int& out);
void fromVariant(const QVariant& value, qint64& out);
void fromVariant(const QVariant& value, bool& out);
void fromVariant(const QVariant& value, QByteArray& out);
void fromVariant(const QVariant& value, QMap<QString, QVariant>& out);
void fromVariant(const QVariant& value, QList<QVariant>& out);
void fromVariant(const QVariant& value, QMap<QString, QString>& out);
void fromVariant(const QVariant& value, QList<QString>& out);
void fromVariant(const QVariant& value, std::vector<QMap<QString, QVariant>>& out);
void fromVariant(const QVariant& value, QVariant& out);
void fromVariant(const QVariant& value, QList<CoeffsData>& out);
void fromVariant(const QVariant& value, QMap<QString, QMap<QString, QVariant>>& out);
/// @endcond

/// Converts a result to variant maps, variant lists and plain values.
QVariant toVariant(const QString& value);
/// @cond overloads
QVariant toVariant(int value);
QVariant toVariant(qint64 value);
QVariant toVariant(bool value);
QVariant toVariant(const QByteArray& value);
QVariant toVariant(const QMap<QString, QVariant>& value);
QVariant toVariant(const QList<QVariant>& value);
QVariant toVariant(const QMap<QString, QString>& value);
QVariant toVariant(const QList<QString>& value);
QVariant toVariant(const std::vector<QMap<QString, QVariant>>& value);
QVariant toVariant(const QList<CoeffsData>& value);
QVariant toVariant(const QMap<QString, QMap<QString, QVariant>>& value);
/// @endcond

} // namespace Tessel::Operations

#endif
