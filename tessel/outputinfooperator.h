// SPDX-License-Identifier: MIT
#ifndef TESSEL_OUTPUTINFOOPERATOR_H
#define TESSEL_OUTPUTINFOOPERATOR_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QVariant>

/// @ingroup video
/// The outputs of a device: their list, enable, resolution, offset and mapping to pipelines.
///
/// @snippet snippets.cpp OutputInfoOperator
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// Cache. The list of outputs per device; a logout drops it, and writes do not touch it.
///
/// Events. While watching, an event "change" of "outputsInfo" refreshes the list. While not watching, every
/// read goes to the device.
/// @warning A refresh emits no signal; the next read returns the new list.
///
/// Threads. Call the reads on the thread of the first getInstance(); the writes may run on any thread.
class TESSEL_EXPORT OutputInfoOperator : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static OutputInfoOperator* getInstance();

    /// Reacts to events and answers reads from the cache. This is the initial state.
    void startWatch();
    /// Ignores events and sends every read to the device. The cache keeps its entries.
    void shutDownWatch();

    /// Makes sure that the device's outputs are cached; @p force always fetches them.
    bool getAllOutputsInfo(const QString& deviceKey, bool force);
    /// The same; copies the cached list to @p result, which is left unchanged on failure.
    bool getAllOutputsInfo(const QString& deviceKey, QList<QVariant>& result, bool force);
    /// The first output of the list whose member `id` equals @p id. @return whether there is one; @p result
    /// is left unchanged on `false`.
    bool getOutputInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Writes the records of all outputs.
    bool setAllOutputsInfo(const QString& deviceKey, const QList<QVariant>& body,
                           QMap<QString, QVariant>& reply);
    // Quirk: Settings taken by reference are not changed.
    /// Maps all outputs to pipelines. Leaves @p body unchanged.
    bool setAllOutputsPipeMapping(const QString& deviceKey, QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    /// Writes the whole record of an output. Leaves @p body unchanged.
    bool setOutputInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply);
    /// Switches an output on or off. Leaves @p body unchanged.
    bool setOutputEnable(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Sets the resolution of an output. Leaves @p body unchanged.
    bool setOutputResolution(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Sets the offset of an output. Leaves @p body unchanged.
    bool setOutputOffset(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Maps an output to a pipeline. Leaves @p body unchanged.
    bool setOutputPipeMapping(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);

Q_SIGNALS:
    // Quirk: A signal that nothing raises stays declared.
    /// Never emitted.
    void needGetAllInputsInfo();

private:
    explicit OutputInfoOperator(QObject* parent = nullptr);
    ~OutputInfoOperator() override;

    void onLogout(const QString& deviceKey);
    void onEvent(const QByteArray& data, const QString& deviceKey);

    bool m_isWatch = true;
    // Quirk: A mutex that nothing locks stays a member. All access to the caches is on one thread.
    QMutex m_mutex;
    QMap<QString, QList<QVariant>> m_outputsInfo; // by device key

    static OutputInfoOperator* m_pInstance;
};

#endif
