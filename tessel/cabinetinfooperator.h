// SPDX-License-Identifier: MIT
#ifndef TESSEL_CABINETINFOOPERATOR_H
#define TESSEL_CABINETINFOOPERATOR_H

#include <tessel/records/cabinetinfo.h>
#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QVariant>

#include <QtPromise>

/// The cabinets of a device and their receiving cards.
///
/// Caches two lists per device. That of the cabinets is filled by reads and events and dropped at a logout;
/// that of the receiving cards is filled by events alone and kept for good. A pushed "cabinetsChange" fetches
/// both anew, "allFlags" the cabinets; while the watch is off events are ignored and every read of the
/// cabinets goes to the device. Everything else goes to the device each time.
///
/// Operations block their caller unless told otherwise. Those on the two lists belong to the thread of the
/// first getInstance(), which needs an event loop for the events; all others may run on any thread. They
/// return whether the device answered, whatever it said; an output is replaced, by an empty one on failure,
/// unless told otherwise.
class TESSEL_EXPORT CabinetInfoOperator : public QObject
{
    Q_OBJECT
public:
    static CabinetInfoOperator* getInstance();

    /// Reacts to events and answers from the cache, as from the start.
    void startWatch();
    /// Ignores events and asks the device for the cabinets at every read. What is cached stays.
    void shutDownWatch();

    /// Sees to it that the cabinets are cached. @p force fetches them even if they are.
    bool getAllCabinetsInfo(const QString& deviceKey, bool force);
    /// The cabinets. @p out stays as it was on `false`.
    bool getAllCabinetsInfo(const QString& deviceKey, QList<QVariant>& out, bool force);
    /// The first cabinet whose "id" is @p id. @p out stays as it was on `false`, also when there is none.
    bool getCabinetInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The typed cabinets, past the cache. Rejects with QPromiseUndefinedException when the device did not
    /// answer; the list is empty when the reply cannot be read.
    QtPromise::QPromise<QList<Tessel::CabinetInfo>> getAllCabinets(const QString& deviceKey);

    /// The receiving cards, from the cache whenever it holds them, flattened; otherwise from the device, as
    /// parsed, and not cached. To be called from the thread of the first getInstance().
    bool getRvCardsList(const QString& deviceKey, QList<QVariant>& out);

Q_SIGNALS:
    /// The device's cabinets were fetched because they changed, well or not: the application reads anew. Once
    /// per "cabinetsChange" event, on this object's thread.
    void signal_sendDataChanged(const QString& key);
    /// The device's receiving cards were replaced. Once per "cabinetsChange" event whose fetch succeeded, on
    /// this object's thread.
    void signal_rvCardsInfoChanged(const QString& key);
    /// The device's cabinets were replaced because their flags changed. Once per "allFlags" event whose fetch
    /// succeeded, on this object's thread.
    void signal_sendCountChanged(const QString& key);

private:
    explicit CabinetInfoOperator(QObject* parent = nullptr);
    ~CabinetInfoOperator() override;

    void forgetDevice(const QString& deviceKey);
    void handleEvent(const QByteArray& data, const QString& deviceKey);

    bool m_isWatch = true;
    QMutex m_mutex; // nothing locks it: all access to the caches is on the home thread
    QMap<QString, QList<QVariant>> m_cabinetsInfo;
    QMap<QString, QList<QVariant>> m_rvCardsInfo;

    static CabinetInfoOperator* m_pInstance;
};

#endif
