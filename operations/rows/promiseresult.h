// SPDX-License-Identifier: MIT
//
// For rows whose operation returns a promise. Include it before the first such row.
#ifndef OPERATIONS_ROWS_PROMISERESULT_H
#define OPERATIONS_ROWS_PROMISERESULT_H

#include "operations/rows/invoker.h"

#include <zephserializer/serializable.h>

#include <QtPromise>

#include <exception>

namespace Tessel::Operations {

/// Converts a record to a map of its properties.
inline QVariant toVariant(const Zeph::Serialize::Serializable& record)
{
    return record.serialize(Zeph::Serialize::NoAttribute);
}

template <class Record>
QVariant toVariant(const QList<Record>& records)
{
    QVariantList list;
    for (const Record& record : records) {
        list.append(toVariant(record));
    }
    return list;
}

/// Waits for the promise; the thread's event loop runs in the meantime.
template <class Value>
struct ReturnValue<QtPromise::QPromise<Value>>
{
    static CallResult result(const QtPromise::QPromise<Value>& promise)
    {
        CallResult result;
        const auto rejected = [&result] { result.error = errorOfRejection(); };
        if constexpr (std::is_void_v<Value>) {
            promise.then([&result] { result.succeeded = true; }, rejected).wait();
        } else {
            promise
                .then(
                    [&result](const Value& value) {
                        result.succeeded = true;
                        result.outputs.append(toVariant(value));
                    },
                    rejected)
                .wait();
        }
        return result;
    }

private:
    /// Describes the current exception; empty if it is neither a text nor a std::exception.
    static QString errorOfRejection()
    {
        try {
            throw;
        } catch (const char* text) {
            return QString::fromUtf8(text);
        } catch (const QString& text) {
            return text;
        } catch (const QtPromise::QPromiseUndefinedException&) {
            return {};
        } catch (const std::exception& error) {
            return QString::fromUtf8(error.what());
        } catch (...) {
            return {};
        }
    }
};

} // namespace Tessel::Operations

#endif
