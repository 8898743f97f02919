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

/// The device that the rows' calls name.
inline const QString sampleDevice = QStringLiteral("wall");

/// What a row's call may hand to its operation as outputs. Filled before the call, so that a row sees what
/// happened to earlier content.
struct Outputs
{
    QMap<QString, QVariant> map;
    QList<QVariant> list;
};

/// Which decoder fills the output. None: the operation has no output, or leaves it as it was.
enum class Decoder { None, Map, FlatList, ParsedList };

/// What becomes of a failed exchange.
enum class OnFailure {
    EmptyOutput, ///< `false`, output emptied
    KeepOutput,  ///< `false`, output as it was
    Unnoticed    ///< `true`, output as it was: the operation does not look
};

/// What one operation sends and what it makes of the reply.
struct OperationRow
{
    const char* name;     ///< class and operation, with the overload behind a blank where there are several
    const char* routeKey; ///< looked up in the table; may be absent there
    Krelm::Communicator::HttpDevice::HttpMethod method;
    Decoder decoder;
    std::function<bool(Outputs&)> call; ///< calls the operation on sampleDevice
    QByteArray body = {};               ///< as it is sent
    QMap<QString, QString> placeHolders = {};
    QMap<QString, QString> parameters = {};
    std::optional<int> expectedTime = {}; ///< none when the operation sets none
    QMap<QString, QString> headers = {};
    bool daemon = false;
    QMap<QString, QVariant> parts = {}; ///< of a multipart body; without any the body is not multipart
    QString downloadPath = {};
    OnFailure onFailure = OnFailure::EmptyOutput;
    bool codeFails = false;   ///< a device's non-zero `code` is a failure too
    bool startCounts = false; ///< of an operation that does not wait: `false` when nothing was started
};

/// The row of an operation that takes a device's non-zero `code` for a failure.
inline OperationRow failingOnCode(OperationRow row)
{
    row.codeFails = true;
    return row;
}

/// The row of an operation that does not wait and whose result is whether its request was started.
inline OperationRow startCounting(OperationRow row)
{
    row.startCounts = true;
    return row;
}

Q_DECLARE_METATYPE(OperationRow)

/// Calls an operation against a recording engine and checks, with Qt Test's comparisons, that it
/// - sends exactly one request, as the row says;
/// - on success returns `true` and replaces its output by what its decoder gives;
/// - counts a device's non-zero `code` as success, unless the row says otherwise;
/// - on failure returns `false` and empties its output, unless the row says otherwise.
void checkBlockingOperation(const OperationRow& row);

/// Calls an operation that does not wait and checks that it
/// - sends exactly one request, as the row says;
/// - returns `true` while the request is unanswered;
/// - has emptied its output by then, if it has one, and leaves it so whatever the answer is;
/// - says the same of a request whose start was refused, unless the row says that the start counts.
void checkUnansweredOperation(const OperationRow& row);

#endif
