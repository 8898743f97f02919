// SPDX-License-Identifier: MIT
#ifndef TESTS_PROMISEOUTCOME_H
#define TESTS_PROMISEOUTCOME_H

#include <communicator/httpengine.h>

#include <QJsonDocument>
#include <QMap>
#include <QString>
#include <QVariant>
#include <QtPromise>

#include <stdexcept>

/// An engine whose start() throws, so that sending throws.
class ThrowingEngine : public Krelm::Communicator::HttpDevice::HttpEngine
{
public:
    using Request = Krelm::Communicator::HttpDevice::HttpRequest;
    using Reply = Krelm::Communicator::HttpDevice::HttpReply;

    Reply exchange(const Request&) override { throw std::runtime_error("no exchange"); }
    bool start(const Request&, std::function<void(const Reply&)>) override
    {
        throw std::runtime_error("no start");
    }
};

/// The outcome of a promise as text: its value as JSON, the size of its list, or the reason of its rejection.
/// Waits for the promise.
struct PromiseOutcome
{
    static QString of(const QtPromise::QPromise<void>& promise)
    {
        return settled(promise.then([] { return QStringLiteral("fulfilled"); }));
    }
    template <class Value>
    static QString of(const QtPromise::QPromise<Value>& promise)
    {
        return settled(promise.then([](const Value& value) { return text(value); }));
    }

    static QString text(bool value) { return value ? QStringLiteral("true") : QStringLiteral("false"); }
    static QString text(int value) { return QString::number(value); }
    static QString text(const QMap<QString, QVariant>& value)
    {
        return QString::fromUtf8(QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact));
    }
    template <class Element>
    static QString text(const QList<Element>& value)
    {
        return QStringLiteral("%1 elements").arg(value.size());
    }

private:
    static QString settled(const QtPromise::QPromise<QString>& promise)
    {
        QString outcome;
        promise.then([&](const QString& value) { outcome = value; })
            .fail([&](const char* reason) { outcome = QStringLiteral("rejected: ") + reason; })
            .fail([&](const QtPromise::QPromiseUndefinedException&) {
                outcome = QStringLiteral("rejected: undefined");
            })
            .fail([&](const std::runtime_error& error) {
                outcome = QStringLiteral("rejected: ") + error.what();
            })
            .wait();
        return outcome;
    }
};

#endif
