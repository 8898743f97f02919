// SPDX-License-Identifier: MIT
//
// Upload of coefficient tables.
#include <tessel/correctionop.h>

#include <tessel/envelopes/commonresponse.h>
#include <tessel/frames/promiserequest.h>

#include <QDebug>
#include <QThread>

using QtPromise::QPromise;
using Tessel::HttpJsonPackage;
using Tessel::HttpProxy;
using Tessel::PromiseRequest;
using Tessel::Request;
using Tessel::succeeded;

namespace {

void logThread(const char* operation, const char* event)
{
    const auto thread = reinterpret_cast<quintptr>(QThread::currentThreadId());
    qDebug("%s%s%s", operation, event, qPrintable(QString::number(thread, 10)));
}

QPromise<bool> uploadTable(const char* routeKey, const char* operation, const QString& deviceKey,
                           const QList<QVariant>& data)
{
    return PromiseRequest::answer<bool>(
        routeKey, [&data](PromiseRequest& request) { request.body(data); }, &HttpProxy::put, deviceKey,
        [operation](const HttpJsonPackage& reply) {
            logThread(operation, succeeded(reply) ? "  recv  thread id =" : " Error recv thread id =");
            return succeeded(reply);
        },
        [operation] { logThread(operation, " thread id ="); });
}

QPromise<QMap<QString, QVariant>> uploadCabinet(const char* routeKey, const QString& deviceKey,
                                                const QString& cid, const QList<QVariant>& data)
{
    return PromiseRequest::answer<QMap<QString, QVariant>>(
        routeKey, [&](PromiseRequest& request) { request.placeHolder("cid", cid).body(data); },
        &HttpProxy::put, deviceKey,
        [](const HttpJsonPackage& reply) {
            return succeeded(reply) ? reply.getRoutesJsonMap() : QMap<QString, QVariant>();
        });
}

// True also after a failed exchange, so that only the empty result tells it, which is wanted. False when a
// step throws, and when the application ends. On a thread that takes no events neither the reply nor a
// promise's handler could come, so that the exchange is a plain one there.
bool uploadCabinetAndWait(const char* routeKey, const QString& deviceKey, const QString& cid,
                          const QList<QVariant>& data, QMap<QString, QVariant>& result)
{
    try {
        if (Tessel::ApplicationEnd::hasCome())
            return false;
        if (Tessel::threadTakesEvents()) {
            return uploadCabinet(routeKey, deviceKey, cid, data)
                .then([&result](const QMap<QString, QVariant>& reply) { result = reply; })
                .wait()
                .isFulfilled();
        }
        QMap<QString, QVariant> reply;
        Request(routeKey).placeHolder("cid", cid).body(data).put(deviceKey, reply);
        if (Tessel::ApplicationEnd::hasCome())
            return false;
        result = reply;
        return true;
    } catch (...) {
        return false;
    }
}

// Fulfils when the device agreed.
const auto settleByCode = [](const HttpJsonPackage& reply, const auto& resolve, const auto& reject) {
    Tessel::CommonResponse response;
    if (succeeded(reply) && Tessel::readResponse(reply, response) && response.code == 0)
        resolve();
    else
        reject();
};

QMap<QString, QVariant> cabinets(const QStringList& cids)
{
    return {{QStringLiteral("cids"), cids}};
}

void fillSaveRequest(HttpJsonPackage* package, const char* routeKey, const QMap<QString, QVariant>& params)
{
    package->setUrl(Tessel::routePath(routeKey));
    package->setRequestWithJsonObj(QVariant(params));
    package->setExpectedTime(360000);
}

} // namespace

QtPromise::QPromise<bool> Correctionop::uploadCoefficientAsync(const QString& deviceKey,
                                                               const QList<QVariant>& data)
{
    return uploadTable("Device_PutCabinetsCoefficient", "uploadCoefficientAsync", deviceKey, data);
}

QtPromise::QPromise<bool> Correctionop::uploadMultilayerCoefficientAsync(const QString& deviceKey,
                                                                         const QList<QVariant>& data)
{
    return uploadTable("Device_PutCabinetsMultilayerCoefficients", "uploadMultilayerCoefficientAsync",
                       deviceKey, data);
}

QtPromise::QPromise<bool> Correctionop::uploadAdaptiveCoefficientAsync(const QString& deviceKey,
                                                                       const QList<QVariant>& data)
{
    return uploadTable("Device_PutCabinetsAdaptiveCoefficients", "uploadAdaptiveCoefficientAsync", deviceKey,
                       data);
}

QtPromise::QPromise<bool> Correctionop::uploadDynamicCoefficientAsync(const QString& deviceKey,
                                                                      const QList<QVariant>& data)
{
    return uploadTable("Device_PutCabinetsDynamicCoefficients", "uploadDynamicCoefficientAsync", deviceKey,
                       data);
}

// Writes no log lines, unlike its neighbours, which is wanted.
QtPromise::QPromise<bool> Correctionop::uploadLowGrayCoefficientAsync(const QString& deviceKey,
                                                                      const QList<QVariant>& data)
{
    return PromiseRequest::answer<bool>(
        "Device_PutCabinetsLowgrayCoefficients", [&data](PromiseRequest& request) { request.body(data); },
        &HttpProxy::put, deviceKey, succeeded);
}

QtPromise::QPromise<QMap<QString, QVariant>>
Correctionop::uploadCoefficient(const QString& deviceKey, const QString& cid, const QList<QVariant>& data)
{
    return uploadCabinet("Device_PutCabinetCoefficients", deviceKey, cid, data);
}

QtPromise::QPromise<QMap<QString, QVariant>>
Correctionop::uploadMultilayerCoefficient(const QString& deviceKey, const QString& cid,
                                          const QList<QVariant>& data)
{
    return uploadCabinet("Device_PutCabinetMultilayerCoefficients", deviceKey, cid, data);
}

// The route table has no such key, which is wanted.
QtPromise::QPromise<QMap<QString, QVariant>>
Correctionop::uploadDynamicCoefficient(const QString& deviceKey, const QString& cid,
                                       const QList<QVariant>& data)
{
    return uploadCabinet("Device_PutCabinetDynamicCoefficients", deviceKey, cid, data);
}

// The route of all cabinets, whose path has no place for the cabinet, which is wanted.
QtPromise::QPromise<QMap<QString, QVariant>>
Correctionop::uploadLowgrayCoefficient(const QString& deviceKey, const QString& cid,
                                       const QList<QVariant>& data)
{
    return uploadCabinet("Device_PutCabinetsLowgrayCoefficients", deviceKey, cid, data);
}

bool Correctionop::uploadCoefficient(const QString& deviceKey, const QString& cid,
                                     const QList<QVariant>& data, QMap<QString, QVariant>& result)
{
    return uploadCabinetAndWait("Device_PutCabinetCoefficients", deviceKey, cid, data, result);
}

bool Correctionop::uploadMultilayerCoefficient(const QString& deviceKey, const QString& cid,
                                               const QList<QVariant>& data, QMap<QString, QVariant>& result)
{
    return uploadCabinetAndWait("Device_PutCabinetMultilayerCoefficients", deviceKey, cid, data, result);
}

bool Correctionop::uploadDynamicCoefficient(const QString& deviceKey, const QString& cid,
                                            const QList<QVariant>& data, QMap<QString, QVariant>& result)
{
    return uploadCabinetAndWait("Device_PutCabinetDynamicCoefficients", deviceKey, cid, data, result);
}

bool Correctionop::uploadLowgrayCoefficient(const QString& deviceKey, const QString& cid,
                                            const QList<QVariant>& data, QMap<QString, QVariant>& result)
{
    return uploadCabinetAndWait("Device_PutCabinetsLowgrayCoefficients", deviceKey, cid, data, result);
}

// Sends neither cabinets nor coefficients, which is wanted.
QtPromise::QPromise<void> Correctionop::uploadCoefficient(const QString& deviceKey,
                                                          const QList<QString>& /*cids*/,
                                                          const QList<CoeffsData>& /*data*/)
{
    return PromiseRequest("Device_PutCabinetCoefficients")
        .guarded<void>(&HttpProxy::put, deviceKey, settleByCode);
}

QtPromise::QPromise<void> Correctionop::loadCabinetCoeffs(const QString& deviceKey, const QStringList& cids)
{
    return PromiseRequest("Device_LoadCabinetsCorrect")
        .body(cabinets(cids))
        .guarded<void>(&HttpProxy::put, deviceKey, settleByCode);
}

// Fulfilled whatever the device says, unlike its neighbour, which is wanted.
QtPromise::QPromise<void> Correctionop::clearCabinetCoeffs(const QString& deviceKey, const QStringList& cids)
{
    return PromiseRequest("Device_ClearCabinetsCorrect")
        .body(cabinets(cids))
        .promise<void>(&HttpProxy::put, deviceKey,
                       [](const HttpJsonPackage&, const auto& resolve, const auto&) { resolve(); });
}

// A PUT whose reply is never read, which is wanted.
QtPromise::QPromise<QList<CoeffsData>> Correctionop::downloadCoefficient(const QString& deviceKey,
                                                                         const QList<QString>& /*cids*/)
{
    return PromiseRequest("Device_GetCabinetCoefficients")
        .promise<QList<CoeffsData>>(
            &HttpProxy::put, deviceKey,
            [](const HttpJsonPackage&, const auto& resolve, const auto&) { resolve(QList<CoeffsData>()); });
}

// The path has no place for the cabinet, which is wanted.
bool Correctionop::loadCoefficient(const QString& deviceKey, const QString& cid, QList<QVariant>& result)
{
    return Request("Device_GetCabinetCoefficients")
        .placeHolder("cid", cid)
        .expectedTime(10000)
        .get(deviceKey, result);
}

bool Correctionop::loadMultilayerCoefficient(const QString& deviceKey, const QString& cid,
                                             QList<QVariant>& result)
{
    return Request("Device_GetCabinetMultilayerCoefficients")
        .placeHolder("cid", cid)
        .expectedTime(10000)
        .get(deviceKey, result);
}

// The route of the multilayer coefficients, which is wanted.
bool Correctionop::loadAdaptiveCoefficient(const QString& deviceKey, const QString& cid,
                                           QList<QVariant>& result)
{
    return Request("Device_GetCabinetMultilayerCoefficients")
        .placeHolder("cid", cid)
        .expectedTime(10000)
        .get(deviceKey, result);
}

void Correctionop::getsaveCabinetsCoeffcient(HttpJsonPackage* package, const QMap<QString, QVariant>& params)
{
    fillSaveRequest(package, "Device_SaveCabinetsCofficient", params);
}

void Correctionop::getsaveCabinetsLowgrayCoeffcient(HttpJsonPackage* package,
                                                    const QMap<QString, QVariant>& params)
{
    fillSaveRequest(package, "Device_SaveCabinetsLowgrayCofficient", params);
}

void Correctionop::getsaveCabinetsMultilayerCoeffcient(HttpJsonPackage* package,
                                                       const QMap<QString, QVariant>& params)
{
    fillSaveRequest(package, "Device_SaveCabinetsMultilayerCofficient", params);
}
