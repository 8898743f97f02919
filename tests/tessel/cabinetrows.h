// SPDX-License-Identifier: MIT
#ifndef TESTS_CABINETROWS_H
#define TESTS_CABINETROWS_H

#include <operationrow.h>

#include <tessel/cabinetinfooperator.h>

/// Rows for the forms that the operations of CabinetInfoOperator take. Each calls its operation with the same
/// cabinet and the same settings.
namespace CabinetRows {

using Krelm::Communicator::HttpDevice::HttpMethod;
using Operator = CabinetInfoOperator;
using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

template <class... Args>
using Operation = bool (Operator::*)(const QString& deviceKey, Args...);

inline const QString cabinet = QStringLiteral("7");
inline const Map settings{{QStringLiteral("a"), 12}, {QStringLiteral("b"), true}};
inline const QByteArray settingsJson = R"({"a":12,"b":true})";
inline const List settingsList{settings, 3};
inline const QByteArray settingsListJson = R"([{"a":12,"b":true},3])";

inline Operator* cabinets()
{
    return Operator::getInstance();
}

/// A read of one cabinet.
inline OperationRow singleRead(const char* name, const char* routeKey, Operation<const QString&, Map&> op)
{
    return {name,
            routeKey,
            HttpMethod::Get,
            Decoder::Map,
            [op](Outputs& out) { return (cabinets()->*op)(sampleDevice, cabinet, out.map); },
            {},
            {{QStringLiteral("id"), cabinet}}};
}

/// A read of a list for the whole device.
inline OperationRow listRead(const char* name, const char* routeKey, Decoder decoder, Operation<List&> op)
{
    return {name, routeKey, HttpMethod::Get, decoder,
            [op](Outputs& out) { return (cabinets()->*op)(sampleDevice, out.list); }};
}

/// A write to one cabinet.
inline OperationRow singleWrite(const char* name, const char* routeKey,
                                Operation<const QString&, const Map&, Map&> op)
{
    return {name,
            routeKey,
            HttpMethod::Put,
            Decoder::Map,
            [op](Outputs& out) { return (cabinets()->*op)(sampleDevice, cabinet, settings, out.map); },
            settingsJson,
            {{QStringLiteral("id"), cabinet}}};
}

/// A write to one cabinet whose body is declared without `const`; fails when the operation changes it.
inline OperationRow singleWriteNonConst(const char* name, const char* routeKey,
                                        Operation<const QString&, Map&, Map&> op)
{
    return {name,
            routeKey,
            HttpMethod::Put,
            Decoder::Map,
            [op](Outputs& out) {
                Map body = settings;
                const bool result = (cabinets()->*op)(sampleDevice, cabinet, body, out.map);
                return result && body == settings;
            },
            settingsJson,
            {{QStringLiteral("id"), cabinet}}};
}

/// A write whose body, an object, names the cabinets.
inline OperationRow mapWrite(const char* name, const char* routeKey, Operation<const Map&, Map&> op)
{
    return {name,
            routeKey,
            HttpMethod::Put,
            Decoder::Map,
            [op](Outputs& out) { return (cabinets()->*op)(sampleDevice, settings, out.map); },
            settingsJson};
}

/// A write whose body, an array, names the cabinets.
inline OperationRow listWrite(const char* name, const char* routeKey, Operation<const List&, Map&> op)
{
    return {name,
            routeKey,
            HttpMethod::Put,
            Decoder::Map,
            [op](Outputs& out) { return (cabinets()->*op)(sampleDevice, settingsList, out.map); },
            settingsListJson};
}

/// A write to one cabinet whose body is replaced by the reply.
inline OperationRow singleExchange(const char* name, const char* routeKey, Operation<const QString&, Map&> op)
{
    return {name,
            routeKey,
            HttpMethod::Put,
            Decoder::Map,
            [op](Outputs& out) {
                out.map = settings;
                return (cabinets()->*op)(sampleDevice, cabinet, out.map);
            },
            settingsJson,
            {{QStringLiteral("id"), cabinet}}};
}

/// A write whose body names the cabinets and is replaced by the reply.
inline OperationRow mapExchange(const char* name, const char* routeKey, Operation<Map&> op)
{
    return {name,
            routeKey,
            HttpMethod::Put,
            Decoder::Map,
            [op](Outputs& out) {
                out.map = settings;
                return (cabinets()->*op)(sampleDevice, out.map);
            },
            settingsJson};
}

/// The row with a time limit of its own.
inline OperationRow within(int milliseconds, OperationRow row)
{
    row.expectedTime = milliseconds;
    return row;
}

} // namespace CabinetRows

#endif
