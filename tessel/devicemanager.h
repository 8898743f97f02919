// SPDX-License-Identifier: MIT
#ifndef TESSEL_DEVICEMANAGER_H
#define TESSEL_DEVICEMANAGER_H

#include <tessel/tesselexport.h>

#include <QObject>

/// Starts the transport and signals changes in the set of registered devices.
///
/// Use it on the application's main thread.
class TESSEL_EXPORT DeviceManager : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static DeviceManager* getInstance();

    /// Starts the transport and opens the event stream of every device.
    void initManager();

Q_SIGNALS:
    /// The set of registered devices has changed. Emitted whenever the transport reports it, on this object's
    /// thread.
    void deviceChanged();

private:
    explicit DeviceManager(QObject* parent = nullptr);
    ~DeviceManager() override;

    static DeviceManager* m_pInstance;
};

#endif
