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

/// The types in which operations take arguments and give results, and their way into a QVariant and back.
/// One more type is one more line in each of the three groups.
namespace Tessel::Operations {

/// How an argument is written.
enum class ValueType {
    Text,
    Integer,
    LongInteger,
    Boolean,
    Bytes,
    Map,
    Parts, ///< a map of the parts of a form, some of which are files
    List,
    TextMap,
    TextList,
    MapList,
    Coefficients,
    AnyValue,
    MapOfMaps
};

/// How a value of @p type is written, for usage lines.
QString placeholderOf(ValueType type);

/// The type of an argument; its pointer only names it.
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

/// Takes the argument out of @p value; an invalid one gives an empty argument.
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

/// The result made of nothing but variant maps, variant lists and plain values.
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
