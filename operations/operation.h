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
    /// What of a reply an output holds.
    enum Source { Body, HttpStatus, ResponseHeaders };

    QString name;         ///< as in the declaration; the name of the argument on a command line
    ValueType type;       ///< how it is written
    Direction direction;  ///< which way its value goes
    Source source = Body; ///< of an output
};

/// What came of a call.
struct CallResult
{
    bool succeeded = false; ///< what the operation returned, or whether its promise was fulfilled
    QString error;          ///< why a promise was rejected
    QVariantList
        outputs; ///< the outputs in the order of the signature, then what a promise was fulfilled with
};

/// Calls an operation with one value per parameter; those of pure outputs are ignored.
using Invoker = std::function<CallResult(const QVariantList& values)>;

/// One operation of the library that can be called by name.
struct Operation
{
    QString className;                 ///< as C++ spells it, `UrlResource::MonitorInfo`
    QString name;                      ///< of the operation alone
    std::vector<Parameter> parameters; ///< in the order of the declaration
    Invoker invoke;                    ///< calls it on the calling thread

    /// `Capability::getAllChipType`
    QString qualifiedName() const;
    /// Whether the first parameter names the device.
    bool takesDevice() const;
    /// Whether its class chooses paths by what HWInfo knows of the device's protocol.
    bool choosesByProtocol() const;
    /// The indexes of the parameters that a user writes: inputs other than the device.
    std::vector<std::size_t> userParameters() const;
    /// Names of what CallResult::outputs holds, a promise's value left out.
    std::vector<QString> outputNames() const;
    /// How it is called: `DebugInfo::getParameters body={...}  ->  result`
    QString usage() const;
};

} // namespace Tessel::Operations

#endif
