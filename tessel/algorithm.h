// SPDX-License-Identifier: MIT
#ifndef TESSEL_ALGORITHM_H
#define TESSEL_ALGORITHM_H

#include <tessel/tesselexport.h>

#include <QMap>
#include <QObject>
#include <QVariant>

/// Colour calculations of a device.
///
/// Their routes are not in force: every request goes out without a path, with the parameters as its query,
/// and the transport decides what becomes of it.
///
/// No cache, no events. Operations block their caller and may run on any thread once the route table is there
/// (AllUrlResource); the first getInstance() comes from one thread at a time. They return whether the device
/// answered; the reply is replaced, by an empty one on failure.
class TESSEL_EXPORT Algorithm : public QObject
{
    Q_OBJECT
public:
    /// The one of the process, created on first use and never deleted.
    static Algorithm* getInstance();

    /// Calculates RGB light values from @p params.
    bool getRGBLight(const QString& deviceKey, const QMap<QString, QString>& params,
                     QMap<QString, QVariant>& reply);
    /// Calculates white light coordinates from @p params.
    bool getWhiteLightCoord(const QString& deviceKey, const QMap<QString, QString>& params,
                            QMap<QString, QVariant>& reply);
    /// Calculates a colour temperature from @p params.
    bool getColorTemperature(const QString& deviceKey, const QMap<QString, QString>& params,
                             QMap<QString, QVariant>& reply);

Q_SIGNALS:
    /// Never raised.
    void needGetAlgorithmInfo();

private:
    explicit Algorithm(QObject* parent = nullptr);
    ~Algorithm() override;

    static Algorithm* m_pInstance;
};

#endif
