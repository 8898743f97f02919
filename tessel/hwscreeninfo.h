// SPDX-License-Identifier: MIT
#ifndef TESSEL_HWSCREENINFO_H
#define TESSEL_HWSCREENINFO_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QVariant>

/// @ingroup screens
/// Draws marks on the LED screen, used to adjust edge brightness and for correction.
///
/// @snippet snippets.cpp HwScreenInfo
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// No cache, no events.
///
/// Threads. Those that choose their route by the device's protocol (setCorrectSwitch(),
/// setCorrectDrawRegion(), setCorrectClearImage()) must be called on HWInfo's thread, the others may run on
/// any thread.
///
/// @warning These three need a preceding `HWInfo::getHwProtoc(deviceKey, true)`; without it every device
/// counts as single-screen.
class TESSEL_EXPORT HwScreenInfo : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static HwScreenInfo* getInstance();

    /// Edge brightness: switches drawing on or off.
    bool setEdgeSwitch(const QString& deviceKey, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply);
    /// Edge brightness: changes the background.
    bool setEdgeChangeBK(const QString& deviceKey, const QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Edge brightness: draws lines.
    bool setEdgeDrawLine(const QString& deviceKey, const QList<QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Edge brightness: draws sections of lines.
    bool setEdgeDrawSectionLine(const QString& deviceKey, const QList<QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// Edge brightness: draws rectangles.
    bool setEdgeDrawRect(const QString& deviceKey, const QList<QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Edge brightness: draws a mouse mark.
    bool setEdgeDrawMouse(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Edge brightness: clears what was drawn.
    bool setEdgeClearImage(const QString& deviceKey, QMap<QString, QVariant>& reply);
    /// Edge brightness: shows the drawing on the screen.
    bool setUpdateScreen(const QString& deviceKey, QMap<QString, QVariant>& reply);

    /// Correction: switches drawing on or off.
    bool setCorrectSwitch(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Correction: changes the background.
    bool setCorrectChangeBK(const QString& deviceKey, const QList<QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Correction: draws a region.
    bool setCorrectDrawRegion(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Correction: draws an identifying number.
    bool setCorrectDrawId(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Correction: clears what was drawn.
    bool setCorrectClearImage(const QString& deviceKey, QMap<QString, QVariant>& reply);
    // Quirk: Misspelt names are part of the interface.
    /// Correction: shows the video source.
    bool setDisplayVedioSource(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);

private:
    explicit HwScreenInfo(QObject* parent = nullptr);
    ~HwScreenInfo() override;

    // Quirk: Members that nothing uses are part of the layout.
    QMap<QString, QVariant> m_reserved;

    static HwScreenInfo* m_pInstance;
};

#endif
