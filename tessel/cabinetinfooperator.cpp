// SPDX-License-Identifier: MIT
#include <tessel/cabinetinfooperator.h>

#include <tessel/envelopes/cabinetsresponse.h>
#include <tessel/frames/cacheaccess.h>
#include <tessel/frames/deviceevents.h>
#include <tessel/frames/pendingrequest.h>
#include <tessel/frames/promiserequest.h>
#include <tessel/frames/request.h>

#include <QDebug>
#include <QTime>

using Tessel::cached;
using Tessel::comesFromSourceOf;
using Tessel::copyElementWhere;
using Tessel::envelopeEvent;
using Tessel::HttpJsonPackage;
using Tessel::HttpProxy;
using Tessel::isEvent;
using Tessel::outputFromCache;
using Tessel::PendingRequest;
using Tessel::PromiseRequest;
using Tessel::PushEvent;
using Tessel::readResponse;
using Tessel::Request;
using Tessel::succeeded;

CabinetInfoOperator* CabinetInfoOperator::m_pInstance = nullptr;

CabinetInfoOperator* CabinetInfoOperator::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new CabinetInfoOperator(nullptr);
    }
    return m_pInstance;
}

CabinetInfoOperator::CabinetInfoOperator(QObject* parent)
    : QObject(parent)
{
    Tessel::listenToDevices(this, &CabinetInfoOperator::forgetDevice, &CabinetInfoOperator::handleEvent);
}

CabinetInfoOperator::~CabinetInfoOperator() = default;

void CabinetInfoOperator::startWatch()
{
    m_isWatch = true;
}

void CabinetInfoOperator::shutDownWatch()
{
    m_isWatch = false;
}

bool CabinetInfoOperator::getAllCabinetsInfo(const QString& deviceKey, bool force)
{
    return cached(m_cabinetsInfo, deviceKey, force || !m_isWatch) ||
           Request("Device_AllCabinetsInfo")
               .parameter("subpixel", QStringLiteral("1"))
               .expectedTime(30000)
               .fetch(deviceKey, m_cabinetsInfo);
}

bool CabinetInfoOperator::getAllCabinetsInfo(const QString& deviceKey, QList<QVariant>& result, bool force)
{
    return outputFromCache(getAllCabinetsInfo(deviceKey, force), m_cabinetsInfo, deviceKey, result);
}

// Quirk: A cabinet is found by the text of its id. Outputs and pipelines are found by its value.
bool CabinetInfoOperator::getCabinetInfo(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& result)
{
    const auto reads = [&id](const QVariant& found) { return found.toString() == id; };
    return getAllCabinetsInfo(deviceKey, false) &&
           copyElementWhere(m_cabinetsInfo.value(deviceKey), reads, result);
}

// Quirk: The typed cabinets look neither at the arguments nor at the reply's code. A reply that cannot be
// read is an empty list.
QtPromise::QPromise<QList<Tessel::CabinetInfo>> CabinetInfoOperator::getAllCabinets(const QString& deviceKey)
{
    return PromiseRequest("Device_AllCabinetsInfo")
        .promise<QList<Tessel::CabinetInfo>>(
            &HttpProxy::get, deviceKey,
            [](const HttpJsonPackage& reply, const auto& resolve, const auto& reject) {
                if (!succeeded(reply)) {
                    return reject();
                }
                Tessel::CabinetsResponse response;
                readResponse(reply, response);
                resolve(response.data);
            });
}

// Quirk: The receiving cards outlive a logout. getRvCardsList() goes on answering from the last ones.
void CabinetInfoOperator::forgetDevice(const QString& deviceKey)
{
    // Quirk: Log lines that read like leftovers are fixed.
    qDebug() << __func__ << "..CabinetInfoOperator deviceLogout.." << QTime::currentTime();
    m_cabinetsInfo.remove(deviceKey);
}

void CabinetInfoOperator::handleEvent(const QByteArray& data, const QString& deviceKey)
{
    if (!m_isWatch) {
        return;
    }
    const QMap<QString, QVariant> event = envelopeEvent(data);
    if (!comesFromSourceOf(event, PushEvent::Cabinets)) {
        return;
    }
    qDebug() << "CabinetInfoOperator:" << QString::fromUtf8(data) << "m_isWatch:" << m_isWatch;
    // Quirk: A refresh asks otherwise than a read. It lacks "subpixel".
    if (isEvent(event, PushEvent::Cabinets)) {
        // Quirk: A failed refresh of the cabinets raises its signal as well. The data may have changed.
        PendingRequest("Device_AllCabinetsInfo").refresh(deviceKey, m_cabinetsInfo, [this, deviceKey](bool) {
            Q_EMIT signal_sendDataChanged(deviceKey);
        });
        PendingRequest("Device_RvCards").refresh(deviceKey, m_rvCardsInfo, [this, deviceKey](bool stored) {
            if (stored) {
                Q_EMIT signal_rvCardsInfoChanged(deviceKey);
            }
        });
    } else if (isEvent(event, PushEvent::CabinetFlags)) {
        PendingRequest("Device_AllCabinetsInfo")
            .refresh(deviceKey, m_cabinetsInfo, [this, deviceKey](bool stored) {
                if (stored) {
                    Q_EMIT signal_sendCountChanged(deviceKey);
                }
            });
    }
}
