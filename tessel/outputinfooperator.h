// SPDX-License-Identifier: MIT
#ifndef TESSEL_OUTPUTINFOOPERATOR_H
#define TESSEL_OUTPUTINFOOPERATOR_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QVariant>

/// The outputs of a device: their list, enable, resolution, offset and mapping to pipelines.
///
/// The list of outputs is cached per device. An event "change" of "outputsInfo" refreshes it without any
/// signal: readers get the new list with their next read. A logout drops it; a failed read or refresh leaves
/// it. Writes do not touch it.
///
/// Operations block their caller and return whether the device answered; unless told otherwise an output is
/// replaced, by an empty one on failure. The reads belong on the object's thread, that of the first
/// getInstance(); the writes may run on any thread once the route table is there (AllUrlResource).
class TESSEL_EXPORT OutputInfoOperator : public QObject
{
    Q_OBJECT
public:
    /// The one of the process, created on first use and never deleted.
    static OutputInfoOperator* getInstance();

    /// Acts on events and answers reads from the cache; the state after construction.
    void startWatch();
    /// Ignores events and sends every read to the device. Keeps the cache.
    void shutDownWatch();

    /// Loads the list of the device's outputs into the cache unless it is there; with @p force in any case.
    bool getAllOutputsInfo(const QString& deviceKey, bool force);
    /// The same; @p result becomes a copy of the cached list, and stays as it was on failure.
    bool getAllOutputsInfo(const QString& deviceKey, QList<QVariant>& result, bool force);
    /// The first output of the list whose member `id` equals @p id. @return whether there is one; @p result
    /// stays as it was on `false`.
    bool getOutputInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Writes the records of all outputs.
    bool setAllOutputsInfo(const QString& deviceKey, const QList<QVariant>& list,
                           QMap<QString, QVariant>& result);
    /// Maps all outputs to pipelines. Reads @p params only.
    bool setAllOutputsPipeMapping(const QString& deviceKey, QMap<QString, QVariant>& params,
                                  QMap<QString, QVariant>& result);
    /// Writes the whole record of an output. Reads @p params only.
    bool setOutputInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& params,
                       QMap<QString, QVariant>& result);
    /// Switches an output on or off. Reads @p params only.
    bool setOutputEnable(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& params,
                         QMap<QString, QVariant>& result);
    /// Sets the resolution of an output. Reads @p params only.
    bool setOutputResolution(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& params,
                             QMap<QString, QVariant>& result);
    /// Sets the offset of an output. Reads @p params only.
    bool setOutputOffset(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& params,
                         QMap<QString, QVariant>& result);
    /// Maps an output to a pipeline. Reads @p params only.
    bool setOutputPipeMapping(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& params,
                              QMap<QString, QVariant>& result);

Q_SIGNALS:
    /// Never raised.
    void needGetAllInputsInfo();

private:
    explicit OutputInfoOperator(QObject* parent = nullptr);
    ~OutputInfoOperator() override;

    void onLogout(const QString& deviceKey);
    void onEvent(const QByteArray& data, const QString& deviceKey);

    bool m_isWatch = true;
    QMutex m_mutex; // locked by nothing: all access comes from the object's thread
    QMap<QString, QList<QVariant>> m_outputsInfo; // by device key

    static OutputInfoOperator* m_pInstance;
};

#endif
