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

    // Reads of the cabinet whose "id" is given.

    /// The family name.
    bool getCabFamilyName(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The manufacturer's name.
    bool getCabMFRSName(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The point spacing.
    bool getCabPointSpace(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The short name.
    bool getCabShortName(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The limits of the effect adjustment.
    bool getCabinetBrightnessRange(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The fine-gray configuration.
    bool getCabinetFineGrayConfig(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The custom gamma.
    bool getCabinetGammaCustomValue(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& out);
    /// The brightness per colour.
    bool getCabinetRGBBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The receiving card's name.
    bool getCabinetRecvName(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The receiving card's rate.
    bool getCabinetRecvRate(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The receiving card's colour temperature.
    bool getCabinetRvColorTemp(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The serial number.
    bool getCabinetSN(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The cabinet type.
    bool getCabinetType(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// Whether XBit is enabled.
    bool getCabinetXbitEnable(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);
    /// The receiving card's configuration.
    bool getConfigFile(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& out);

    // Reads of a property of all cabinets.

    /// The manufacturers' names of all cabinets, as parsed.
    bool getAllCabMFRSName(const QString& deviceKey, QList<QVariant>& out);
    /// The short names of all cabinets, as parsed.
    bool getAllCabShortName(const QString& deviceKey, QList<QVariant>& out);
    /// The chips of all cabinets, as parsed.
    bool getAllCabinetChip(const QString& deviceKey, QList<QVariant>& out);
    /// The types of all cabinets, as parsed.
    bool getAllCabinetType(const QString& deviceKey, QList<QVariant>& out);
    /// The receiving cards of all cabinets, flattened.
    bool getAllCabinetsRxs(const QString& deviceKey, QList<QVariant>& out);
    /// All flags, as parsed.
    bool getCabAllFlags(const QString& deviceKey, QList<QVariant>& out);
    /// The base information of all cabinets, as parsed.
    bool getCabinetsBaseInfo(const QString& deviceKey, QList<QVariant>& out);

    /// The receiving cards of one cabinet, flattened.
    bool getCabinetRxs(const QString& deviceKey, const QString& id, QList<QVariant>& out);
    /// The gamma table of one cabinet, empty when the reply lacks one; @p parameters go out as the query.
    bool getCabinetGammaCurveInfo(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QString>& parameters, QList<QVariant>& out);
    /// Appends the cabinets whose "outputID" is @p portId to what @p out holds; a cabinet without one is at
    /// port 0. Answered from the cache where getAllCabinetsInfo() is, and from its thread. A failure appends
    /// nothing.
    void getPortCabinetsInfo(const QString& deviceKey, int portId, QList<QVariant>& out);

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
