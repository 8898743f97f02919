// SPDX-License-Identifier: MIT
#ifndef TESTS_OPERATIONROW_H
#define TESTS_OPERATIONROW_H

#include <communicator/httpengine.h>

#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>

/// The device that the calls in the rows use.
inline const QString sampleDevice = QStringLiteral("wall");

/// Outputs that the call of a row can pass to its operation. They are filled before the call, to check what
/// happens to previous content.
struct Outputs
{
    QMap<QString, QVariant> map;
    QList<QVariant> list;
};

/// Which decoder fills the output. None: the operation has no output, or leaves it unchanged.
enum class Decoder { None, Map, FlatList, ParsedList };

/// The effect of a failed exchange.
enum class OnFailure {
    EmptyOutput, ///< returns `false` and empties the output
    KeepOutput,  ///< returns `false` and leaves the output unchanged
    Unnoticed    ///< returns `true` and leaves the output unchanged: the outcome is ignored
};

/// What an operation sends, and how it handles the reply.
struct OperationRow
{
    const char* name;     ///< class and operation, then a space and the overload if there are several
    const char* routeKey; ///< looked up in the route table; may be absent there
    Krelm::Communicator::HttpDevice::HttpMethod method;
    Decoder decoder;
    std::function<bool(Outputs&)> call; ///< calls the operation on sampleDevice
    QByteArray body = {};               ///< as sent
    QMap<QString, QString> placeHolders = {};
    QMap<QString, QString> parameters = {};
    std::optional<int> expectedTime = {}; ///< empty if the operation sets none
    QMap<QString, QString> headers = {};
    bool daemon = false;
    QMap<QString, QVariant> parts = {}; ///< of a multipart body; empty if the body is not multipart
    QString downloadPath = {};
    OnFailure onFailure = OnFailure::EmptyOutput;
    bool codeFails = false;   ///< whether a non-zero `code` from the device also counts as failure
    bool startCounts = false; ///< of an operation that does not wait: returns `false` if nothing was started
};

/// The row of an operation for which a non-zero `code` from the device is a failure.
inline OperationRow failingOnCode(OperationRow row)
{
    row.codeFails = true;
    return row;
}

/// The row of an operation that does not wait and returns whether its request was started.
inline OperationRow startCounting(OperationRow row)
{
    row.startCounts = true;
    return row;
}

Q_DECLARE_METATYPE(OperationRow)

/// Calls an operation with a recording engine and checks, with Qt Test's comparisons, that it
/// - sends exactly one request, the one described by the row;
/// - on success returns `true` and replaces its output with the decoded reply;
/// - treats a non-zero `code` from the device as success, unless the row says otherwise;
/// - on failure returns `false` and empties its output, unless the row says otherwise.
void checkBlockingOperation(const OperationRow& row);

/// Calls an operation that does not wait and checks that it
/// - sends exactly one request, the one described by the row;
/// - returns `true` while the request is unanswered;
/// - has emptied its output by then, if it has one, and leaves it empty whatever the reply is;
/// - does the same if the engine refuses to start the request, unless the row says that the start counts.
void checkUnansweredOperation(const OperationRow& row);

#endif
