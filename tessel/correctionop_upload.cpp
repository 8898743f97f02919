// SPDX-License-Identifier: MIT
//
// Upload of coefficient tables.
#include <tessel/correctionop.h>

#include <tessel/envelopes/commonresponse.h>
#include <tessel/frames/operationscope.h>
#include <tessel/frames/promiserequest.h>
#include <tessel/frames/request.h>

#include <QDebug>
#include <QThread>

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

// Quirk: A failed upload does not reject its promise.
QtPromise::QPromise<bool> uploadTable(const char* routeKey, const char* operation, const QString& deviceKey,
                                      const QList<QVariant>& data)
{
    return PromiseRequest::answer<bool>(
        routeKey, [&data](PromiseRequest& request) { request.body(data); }, &HttpProxy::put, deviceKey,
        [operation](const HttpJsonPackage& reply) {
            // Quirk: Log lines that read like leftovers are fixed.
            logThread(operation, succeeded(reply) ? "  recv  thread id =" : " Error recv thread id =");
            return succeeded(reply);
        },
        [operation] { logThread(operation, " thread id ="); });
}

// Quirk: A failed upload does not reject its promise.
QtPromise::QPromise<QMap<QString, QVariant>> uploadCabinet(const char* routeKey, const QString& deviceKey,
                                                           const QString& cid, const QList<QVariant>& data)
{
    return PromiseRequest::answer<QMap<QString, QVariant>>(
        routeKey, [&](PromiseRequest& request) { request.placeHolder("cid", cid).body(data); },
        &HttpProxy::put, deviceKey,
        [](const HttpJsonPackage& reply) {
            return succeeded(reply) ? reply.getRoutesJsonMap() : QMap<QString, QVariant>();
        });
}

// Quirk: A blocking upload reports success after a failed exchange. The empty result shows it. The outcome is
// `false` when a step throws and when the application ends. A thread that takes no events would receive
// neither the reply nor a promise's handler, so the exchange is a plain one there.
bool uploadCabinetAndWait(const char* routeKey, const QString& deviceKey, const QString& cid,
                          const QList<QVariant>& data, QMap<QString, QVariant>& result)
{
    const Tessel::OperationScope scope;
    try {
        if (Tessel::ApplicationEnd::hasCome()) {
            return false;
        }
        if (Tessel::threadTakesEvents()) {
            return uploadCabinet(routeKey, deviceKey, cid, data)
                .then([&result](const QMap<QString, QVariant>& reply) { result = reply; })
                .wait()
                .isFulfilled();
        }
        QMap<QString, QVariant> reply;
        Request(routeKey).placeHolder("cid", cid).body(data).put(deviceKey, reply);
        if (Tessel::ApplicationEnd::hasCome()) {
            return false;
        }
        result = reply;
        return true;
    } catch (...) {
        return false;
    }
}

// Fulfils when the device has accepted, which only its code shows.
const auto settleByCode = [](const HttpJsonPackage& reply, const auto& resolve, const auto& reject) {
    Tessel::CommonResponse response;
    if (succeeded(reply) && Tessel::readResponse(reply, response) && response.code == 0) {
        resolve();
    } else {
        reject();
    }
};

QMap<QString, QVariant> cabinets(const QStringList& cids)
{
    return {{QStringLiteral("cids"), cids}};
}

// Quirk: Operations named get fill a package and send nothing.
void fillSaveRequest(HttpJsonPackage* package, const char* routeKey, const QMap<QString, QVariant>& body)
{
    package->setUrl(Tessel::routePath(routeKey));
    package->setRequestWithJsonObj(QVariant(body));
    package->setExpectedTime(360000);
}

} // namespace

QtPromise::QPromise<bool> Correctionop::uploadCoefficientAsync(const QString& deviceKey,
                                                               const QList<QVariant>& body)
{
    return uploadTable("Device_PutCabinetsCoefficient", "uploadCoefficientAsync", deviceKey, body);
}

QtPromise::QPromise<bool> Correctionop::uploadMultilayerCoefficientAsync(const QString& deviceKey,
                                                                         const QList<QVariant>& body)
{
    return uploadTable("Device_PutCabinetsMultilayerCoefficients", "uploadMultilayerCoefficientAsync",
                       deviceKey, body);
}

QtPromise::QPromise<bool> Correctionop::uploadAdaptiveCoefficientAsync(const QString& deviceKey,
                                                                       const QList<QVariant>& body)
{
    return uploadTable("Device_PutCabinetsAdaptiveCoefficients", "uploadAdaptiveCoefficientAsync", deviceKey,
                       body);
}

QtPromise::QPromise<bool> Correctionop::uploadDynamicCoefficientAsync(const QString& deviceKey,
                                                                      const QList<QVariant>& body)
{
    return uploadTable("Device_PutCabinetsDynamicCoefficients", "uploadDynamicCoefficientAsync", deviceKey,
                       body);
}

// Quirk: Uploading lowgray coefficients logs no threads. Its neighbours do.
QtPromise::QPromise<bool> Correctionop::uploadLowGrayCoefficientAsync(const QString& deviceKey,
                                                                      const QList<QVariant>& body)
{
    return PromiseRequest::answer<bool>(
        "Device_PutCabinetsLowgrayCoefficients", [&body](PromiseRequest& request) { request.body(body); },
        &HttpProxy::put, deviceKey, succeeded);
}

QtPromise::QPromise<QMap<QString, QVariant>>
Correctionop::uploadCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body)
{
    return uploadCabinet("Device_PutCabinetCoefficients", deviceKey, id, body);
}

QtPromise::QPromise<QMap<QString, QVariant>>
Correctionop::uploadMultilayerCoefficient(const QString& deviceKey, const QString& id,
                                          const QList<QVariant>& body)
{
    return uploadCabinet("Device_PutCabinetMultilayerCoefficients", deviceKey, id, body);
}

// Quirk: An operation without a route sends its request with an empty path.
QtPromise::QPromise<QMap<QString, QVariant>>
Correctionop::uploadDynamicCoefficient(const QString& deviceKey, const QString& id,
                                       const QList<QVariant>& body)
{
    return uploadCabinet("Device_PutCabinetDynamicCoefficients", deviceKey, id, body);
}

// Quirk: The lowgray coefficients of one cabinet go to the route of all.
// Quirk: An id goes along although the path has no place for it.
QtPromise::QPromise<QMap<QString, QVariant>>
Correctionop::uploadLowgrayCoefficient(const QString& deviceKey, const QString& id,
                                       const QList<QVariant>& body)
{
    return uploadCabinet("Device_PutCabinetsLowgrayCoefficients", deviceKey, id, body);
}

bool Correctionop::uploadCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body,
                                     QMap<QString, QVariant>& reply)
{
    return uploadCabinetAndWait("Device_PutCabinetCoefficients", deviceKey, id, body, reply);
}

bool Correctionop::uploadMultilayerCoefficient(const QString& deviceKey, const QString& id,
                                               const QList<QVariant>& body, QMap<QString, QVariant>& reply)
{
    return uploadCabinetAndWait("Device_PutCabinetMultilayerCoefficients", deviceKey, id, body, reply);
}

bool Correctionop::uploadDynamicCoefficient(const QString& deviceKey, const QString& id,
                                            const QList<QVariant>& body, QMap<QString, QVariant>& reply)
{
    return uploadCabinetAndWait("Device_PutCabinetDynamicCoefficients", deviceKey, id, body, reply);
}

bool Correctionop::uploadLowgrayCoefficient(const QString& deviceKey, const QString& id,
                                            const QList<QVariant>& body, QMap<QString, QVariant>& reply)
{
    return uploadCabinetAndWait("Device_PutCabinetsLowgrayCoefficients", deviceKey, id, body, reply);
}

// Quirk: Uploading coefficient blocks sends neither cabinets nor coefficients.
// Quirk: Some placeholders of paths go out unfilled.
QtPromise::QPromise<void> Correctionop::uploadCoefficient(const QString& deviceKey,
                                                          const QList<QString>& /*ids*/,
                                                          const QList<CoeffsData>& /*body*/)
{
    return PromiseRequest("Device_PutCabinetCoefficients")
        .guarded<void>(&HttpProxy::put, deviceKey, settleByCode);
}

QtPromise::QPromise<void> Correctionop::loadCabinetCoeffs(const QString& deviceKey, const QStringList& ids)
{
    return PromiseRequest("Device_LoadCabinetsCorrect")
        .body(cabinets(ids))
        .guarded<void>(&HttpProxy::put, deviceKey, settleByCode);
}

// Quirk: Clearing coefficients by promise is fulfilled whatever the device says. Loading them is not.
QtPromise::QPromise<void> Correctionop::clearCabinetCoeffs(const QString& deviceKey, const QStringList& ids)
{
    return PromiseRequest("Device_ClearCabinetsCorrect")
        .body(cabinets(ids))
        .promise<void>(&HttpProxy::put, deviceKey,
                       [](const HttpJsonPackage&, const auto& resolve, const auto&) { resolve(); });
}

// Quirk: Downloading coefficients is a PUT that delivers nothing.
QtPromise::QPromise<QList<CoeffsData>> Correctionop::downloadCoefficient(const QString& deviceKey,
                                                                         const QList<QString>& /*ids*/)
{
    return PromiseRequest("Device_GetCabinetCoefficients")
        .promise<QList<CoeffsData>>(
            &HttpProxy::put, deviceKey,
            [](const HttpJsonPackage&, const auto& resolve, const auto&) { resolve(QList<CoeffsData>()); });
}

// Quirk: An id goes along although the path has no place for it.
bool Correctionop::loadCoefficient(const QString& deviceKey, const QString& id, QList<QVariant>& result)
{
    return Request("Device_GetCabinetCoefficients")
        .placeHolder("cid", id)
        .expectedTime(10000)
        .get(deviceKey, result);
}

bool Correctionop::loadMultilayerCoefficient(const QString& deviceKey, const QString& id,
                                             QList<QVariant>& result)
{
    return Request("Device_GetCabinetMultilayerCoefficients")
        .placeHolder("cid", id)
        .expectedTime(10000)
        .get(deviceKey, result);
}

// Quirk: Reading the adaptive coefficients reads the multilayer ones.
bool Correctionop::loadAdaptiveCoefficient(const QString& deviceKey, const QString& id,
                                           QList<QVariant>& result)
{
    return Request("Device_GetCabinetMultilayerCoefficients")
        .placeHolder("cid", id)
        .expectedTime(10000)
        .get(deviceKey, result);
}

void Correctionop::getsaveCabinetsCoeffcient(HttpJsonPackage* package, const QMap<QString, QVariant>& body)
{
    fillSaveRequest(package, "Device_SaveCabinetsCofficient", body);
}

void Correctionop::getsaveCabinetsLowgrayCoeffcient(HttpJsonPackage* package,
                                                    const QMap<QString, QVariant>& body)
{
    fillSaveRequest(package, "Device_SaveCabinetsLowgrayCofficient", body);
}

void Correctionop::getsaveCabinetsMultilayerCoeffcient(HttpJsonPackage* package,
                                                       const QMap<QString, QVariant>& body)
{
    fillSaveRequest(package, "Device_SaveCabinetsMultilayerCofficient", body);
}
