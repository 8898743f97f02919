// SPDX-License-Identifier: MIT
#ifndef TESSEL_ALGORITHM_H
#define TESSEL_ALGORITHM_H

#include <tessel/tesselexport.h>

#include <QMap>
#include <QObject>
#include <QVariant>

/// @ingroup colour
/// Colour calculations of a device.
///
/// @snippet snippets.cpp Algorithm
///
/// @warning These operations have no route: every request is sent with an empty path and the parameters as
/// its query. The built-in transport ends it with `InvalidRequest`.
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// No cache, no events, any thread.
class TESSEL_EXPORT Algorithm : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static Algorithm* getInstance();

    /// Calculates RGB light values from @p query.
    bool getRGBLight(const QString& deviceKey, const QMap<QString, QString>& query,
                     QMap<QString, QVariant>& result);
    /// Calculates white light coordinates from @p query.
    bool getWhiteLightCoord(const QString& deviceKey, const QMap<QString, QString>& query,
                            QMap<QString, QVariant>& result);
    /// Calculates a colour temperature from @p query.
    bool getColorTemperature(const QString& deviceKey, const QMap<QString, QString>& query,
                             QMap<QString, QVariant>& result);

Q_SIGNALS:
    // Quirk: A signal that nothing raises stays declared.
    /// Never emitted.
    void needGetAlgorithmInfo();

private:
    explicit Algorithm(QObject* parent = nullptr);
    ~Algorithm() override;

    static Algorithm* m_pInstance;
};

#endif
