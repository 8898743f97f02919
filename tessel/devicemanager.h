// SPDX-License-Identifier: MIT
#ifndef TESSEL_DEVICEMANAGER_H
#define TESSEL_DEVICEMANAGER_H

#include <tessel/tesselexport.h>

#include <QObject>

/// Starts the transport and tells that the set of known devices changed.
///
/// To be called from the application's thread.
class TESSEL_EXPORT DeviceManager : public QObject
{
    Q_OBJECT
public:
    /// The one of the process, created on first use and never deleted.
    static DeviceManager* getInstance();

    /// Starts the transport with the push channel of every device.
    void initManager();

Q_SIGNALS:
    /// The set of known devices changed: whenever the transport says so, on this object's thread.
    void deviceChanged();

private:
    explicit DeviceManager(QObject* parent = nullptr);
    ~DeviceManager() override;

    static DeviceManager* m_pInstance;
};

#endif
