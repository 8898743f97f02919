// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_OPERATION_H
#define OPERATIONS_OPERATION_H

#include "operations/value.h"

#include <QString>
#include <QVariant>

#include <functional>
#include <vector>

class QObject;

namespace Tessel::Operations {

/// One parameter of an operation.
struct Parameter
{
    /// Whether the operation reads the argument, writes it, or both.
    enum Direction { In, Out, InOut };
    /// The part of the reply that fills an output.
    enum Source { Body, HttpStatus, ResponseHeaders };

    QString name;         ///< as in the declaration; also the argument's name on the command line
    ValueType type;       ///< how its text is read, and how its value is written
    Direction direction;  ///< as above
    Source source = Body; ///< only for outputs
};

/// The result of a call.
struct CallResult
{
    bool succeeded = false; ///< the return value, or whether the promise was fulfilled
    QString error;          ///< the reason with which the promise was rejected
    QVariantList outputs;   ///< in the order of the signature, followed by the promise's value
};

/// Calls an operation with one value for each parameter; the values of pure outputs are ignored.
using Invoker = std::function<CallResult(const QVariantList& values)>;

/// One operation of the library that can be called by name.
struct Operation
{
    QString className;                 ///< with its namespace: `UrlResource::MonitorInfo`
    QString name;                      ///< without the class
    std::vector<Parameter> parameters; ///< in the order of the declaration
    Invoker invoke;                    ///< runs the operation on the calling thread

    /// `Capability::getAllChipType`
    QString qualifiedName() const;
    /// Whether the first parameter names the device.
    bool takesDevice() const;
    /// Whether its class chooses the route by the device's protocol, as cached in HWInfo.
    bool choosesByProtocol() const;
    /// The indexes of the parameters that a user supplies: all inputs except the device.
    std::vector<std::size_t> userParameters() const;
    /// The names for CallResult::outputs, except for a promise's value.
    std::vector<QString> outputNames() const;
    /// For example `DebugInfo::getParameters body={...}  ->  result`
    QString usage() const;
};

} // namespace Tessel::Operations

#endif
