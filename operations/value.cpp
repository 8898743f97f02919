// SPDX-License-Identifier: MIT
#include "operations/value.h"

#include <QStringList>

namespace Tessel::Operations {

QString placeholderOf(ValueType type)
{
    switch (type) {
    case ValueType::Text:
        return QStringLiteral("TEXT");
    case ValueType::Integer:
    case ValueType::LongInteger:
        return QStringLiteral("INTEGER");
    case ValueType::Boolean:
        return QStringLiteral("true|false");
    case ValueType::Bytes:
        return QStringLiteral("@FILE");
    case ValueType::Map:
        return QStringLiteral("{...}");
    case ValueType::List:
        return QStringLiteral("[...]");
    case ValueType::Parts:
        return QStringLiteral("{\"name\":\"@FILE\",...}");
    case ValueType::TextMap:
        return QStringLiteral("{\"name\":\"text\",...}");
    case ValueType::TextList:
        return QStringLiteral("WORD,WORD,...");
    case ValueType::MapList:
        return QStringLiteral("[{...},...]");
    case ValueType::Coefficients:
        return QStringLiteral("[{\"rect\":[X,Y,WIDTH,HEIGHT],\"data\":\"BASE64\"},...]");
    case ValueType::AnyValue:
        return QStringLiteral("JSON");
    case ValueType::MapOfMaps:
        return QStringLiteral("{\"name\":{...},...}");
    }
    return {};
}

namespace {

// A block of coefficients is written {"rect":[x,y,width,height],"data":"base64"}.
QString rectKey()
{
    return QStringLiteral("rect");
}

QString dataKey()
{
    return QStringLiteral("data");
}

} // namespace

ValueType valueType(const QString* /*type*/)
{
    return ValueType::Text;
}

ValueType valueType(const int* /*type*/)
{
    return ValueType::Integer;
}

ValueType valueType(const qint64* /*type*/)
{
    return ValueType::LongInteger;
}

ValueType valueType(const bool* /*type*/)
{
    return ValueType::Boolean;
}

ValueType valueType(const QByteArray* /*type*/)
{
    return ValueType::Bytes;
}

ValueType valueType(const QMap<QString, QVariant>* /*type*/)
{
    return ValueType::Map;
}

ValueType valueType(const QList<QVariant>* /*type*/)
{
    return ValueType::List;
}

ValueType valueType(const QMap<QString, QString>* /*type*/)
{
    return ValueType::TextMap;
}

ValueType valueType(const QList<QString>* /*type*/)
{
    return ValueType::TextList;
}

ValueType valueType(const std::vector<QMap<QString, QVariant>>* /*type*/)
{
    return ValueType::MapList;
}

ValueType valueType(const QVariant* /*type*/)
{
    return ValueType::AnyValue;
}

ValueType valueType(const QList<CoeffsData>* /*type*/)
{
    return ValueType::Coefficients;
}

ValueType valueType(const QMap<QString, QMap<QString, QVariant>>* /*type*/)
{
    return ValueType::MapOfMaps;
}

void fromVariant(const QVariant& value, QString& out)
{
    out = value.toString();
}

void fromVariant(const QVariant& value, int& out)
{
    out = value.toInt();
}

void fromVariant(const QVariant& value, qint64& out)
{
    out = value.toLongLong();
}

void fromVariant(const QVariant& value, bool& out)
{
    out = value.toBool();
}

void fromVariant(const QVariant& value, QByteArray& out)
{
    out = value.toByteArray();
}

void fromVariant(const QVariant& value, QMap<QString, QVariant>& out)
{
    out = value.toMap();
}

void fromVariant(const QVariant& value, QList<QVariant>& out)
{
    out = value.toList();
}

void fromVariant(const QVariant& value, QMap<QString, QString>& out)
{
    const QVariantMap map = value.toMap();
    for (auto member = map.begin(); member != map.end(); ++member) {
        out.insert(member.key(), member.value().toString());
    }
}

void fromVariant(const QVariant& value, QList<QString>& out)
{
    const QVariantList list = value.toList();
    for (const QVariant& element : list) {
        out.append(element.toString());
    }
}

void fromVariant(const QVariant& value, std::vector<QMap<QString, QVariant>>& out)
{
    const QVariantList list = value.toList();
    for (const QVariant& element : list) {
        out.push_back(element.toMap());
    }
}

void fromVariant(const QVariant& value, QVariant& out)
{
    out = value;
}

void fromVariant(const QVariant& value, QList<CoeffsData>& out)
{
    const QVariantList list = value.toList();
    for (const QVariant& element : list) {
        const QVariantMap block = element.toMap();
        const QVariantList rect = block.value(rectKey()).toList();
        CoeffsData coefficients;
        coefficients.rect =
            QRect(rect.value(0).toInt(), rect.value(1).toInt(), rect.value(2).toInt(), rect.value(3).toInt());
        coefficients.data = QByteArray::fromBase64(block.value(dataKey()).toByteArray());
        out.append(coefficients);
    }
}

void fromVariant(const QVariant& value, QMap<QString, QMap<QString, QVariant>>& out)
{
    const QVariantMap map = value.toMap();
    for (auto member = map.begin(); member != map.end(); ++member) {
        out.insert(member.key(), member.value().toMap());
    }
}

QVariant toVariant(const QString& value)
{
    return value;
}

QVariant toVariant(int value)
{
    return value;
}

QVariant toVariant(qint64 value)
{
    return value;
}

QVariant toVariant(bool value)
{
    return value;
}

QVariant toVariant(const QByteArray& value)
{
    return value;
}

QVariant toVariant(const QMap<QString, QVariant>& value)
{
    return value;
}

QVariant toVariant(const QList<QVariant>& value)
{
    return value;
}

QVariant toVariant(const QMap<QString, QString>& value)
{
    QVariantMap map;
    for (auto member = value.begin(); member != value.end(); ++member) {
        map.insert(member.key(), member.value());
    }
    return map;
}

QVariant toVariant(const QList<QString>& value)
{
    QVariantList list;
    for (const QString& element : value) {
        list.append(element);
    }
    return list;
}

QVariant toVariant(const std::vector<QMap<QString, QVariant>>& value)
{
    QVariantList list;
    for (const QMap<QString, QVariant>& element : value) {
        list.append(QVariant(element));
    }
    return list;
}

QVariant toVariant(const QList<CoeffsData>& value)
{
    QVariantList list;
    for (const CoeffsData& block : value) {
        const QRect& rect = block.rect;
        list.append(QVariantMap{{rectKey(), QVariantList{rect.x(), rect.y(), rect.width(), rect.height()}},
                                {dataKey(), QString::fromLatin1(block.data.toBase64())}});
    }
    return list;
}

QVariant toVariant(const QMap<QString, QMap<QString, QVariant>>& value)
{
    QVariantMap map;
    for (auto member = value.begin(); member != value.end(); ++member) {
        map.insert(member.key(), member.value());
    }
    return map;
}

} // namespace Tessel::Operations
