// SPDX-License-Identifier: MIT
#ifndef TESTS_OPERATIONFORMS_H
#define TESTS_OPERATIONFORMS_H

#include "operationrow.h"

/// The id that the calls in the rows use.
inline const QString sampleId = QStringLiteral("7");

/// Rows for operations of one class that share a signature and differ only in name, route key and member
/// function. The calls send the id sampleId, and the body {"x":1} or [{"x":1}].
template <class Operator>
struct OperationForms
{
    using Map = QMap<QString, QVariant>;
    using List = QList<QVariant>;
    using Method = Krelm::Communicator::HttpDevice::HttpMethod;

    using IdRead = bool (Operator::*)(const QString&, const QString&, Map&);
    using IdListRead = bool (Operator::*)(const QString&, const QString&, List&);
    using IdWrite = bool (Operator::*)(const QString&, const QString&, const Map&, Map&);
    using MapWrite = bool (Operator::*)(const QString&, const Map&, Map&);
    using ListWrite = bool (Operator::*)(const QString&, const List&, Map&);

    /// A GET of one object's map.
    static OperationRow idRead(const char* name, const char* routeKey, IdRead operation,
                               const char* placeHolder = "id", std::optional<int> expectedTime = {})
    {
        OperationRow row{name, routeKey, Method::Get, Decoder::Map, [operation](Outputs& out) {
                             return (Operator::getInstance()->*operation)(sampleDevice, sampleId, out.map);
                         }};
        row.placeHolders = {{QLatin1String(placeHolder), sampleId}};
        row.expectedTime = expectedTime;
        return row;
    }
    /// A GET of one object's list.
    static OperationRow idListRead(const char* name, const char* routeKey, IdListRead operation,
                                   Decoder decoder, const char* placeHolder = "id",
                                   std::optional<int> expectedTime = {})
    {
        OperationRow row{name, routeKey, Method::Get, decoder, [operation](Outputs& out) {
                             return (Operator::getInstance()->*operation)(sampleDevice, sampleId, out.list);
                         }};
        row.placeHolders = {{QLatin1String(placeHolder), sampleId}};
        row.expectedTime = expectedTime;
        return row;
    }
    /// A PUT without a body to one object.
    static OperationRow idCommand(const char* name, const char* routeKey, IdRead operation)
    {
        OperationRow row = idRead(name, routeKey, operation);
        row.method = Method::Put;
        return row;
    }
    /// A PUT of a map to one object.
    static OperationRow idWrite(const char* name, const char* routeKey, IdWrite operation,
                                const char* placeHolder = "id", std::optional<int> expectedTime = {})
    {
        OperationRow row{name, routeKey, Method::Put, Decoder::Map, [operation](Outputs& out) {
                             return (Operator::getInstance()->*operation)(sampleDevice, sampleId,
                                                                          sampleBody(), out.map);
                         }};
        row.body = R"({"x":1})";
        row.placeHolders = {{QLatin1String(placeHolder), sampleId}};
        row.expectedTime = expectedTime;
        return row;
    }
    /// A PUT of a map.
    static OperationRow mapWrite(const char* name, const char* routeKey, MapWrite operation,
                                 std::optional<int> expectedTime = {})
    {
        OperationRow row{name, routeKey, Method::Put, Decoder::Map, [operation](Outputs& out) {
                             return (Operator::getInstance()->*operation)(sampleDevice, sampleBody(),
                                                                          out.map);
                         }};
        row.body = R"({"x":1})";
        row.expectedTime = expectedTime;
        return row;
    }
    /// A PUT of a list.
    static OperationRow listWrite(const char* name, const char* routeKey, ListWrite operation)
    {
        OperationRow row{name, routeKey, Method::Put, Decoder::Map, [operation](Outputs& out) {
                             return (Operator::getInstance()->*operation)(sampleDevice, {sampleBody()},
                                                                          out.map);
                         }};
        row.body = R"([{"x":1}])";
        return row;
    }

private:
    static Map sampleBody() { return {{QStringLiteral("x"), 1}}; }
};

#endif
