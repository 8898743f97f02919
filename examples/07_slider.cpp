// SPDX-License-Identifier: MIT
//
// A slider for the brightness of a screen: writes that do not wait, at most one of them under way.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QTextStream>
#include <QTimer>

using Krelm::Communicator::HttpDevice::OperationOutcome;

//! [slider]
/// Sends the positions of a slider to a screen. Positions that come while a write is under way are skipped,
/// except for the last one.
class BrightnessSlider : public QObject
{
public:
    BrightnessSlider(const QString& wall, const QString& screen, bool multiScreen)
        : m_wall(wall)
        , m_screen(screen)
        , m_factor(multiScreen ? 255 : 1)
    {
        m_timer.setInterval(20);
        connect(&m_timer, &QTimer::timeout, this, &BrightnessSlider::send);
    }

    void setPercent(int percent)
    {
        m_wanted = percent;
        if (!m_timer.isActive()) {
            m_timer.start();
        }
    }

    bool isBusy() const { return m_timer.isActive(); }
    QString error() const { return m_write.hasFailed() ? m_write.text() : QString(); }

private:
    void send()
    {
        if (!m_write.isFinished()) {
            return;
        }
        if (m_wanted == m_sent) {
            m_timer.stop();
            return;
        }
        m_sent = m_wanted;
        QMap<QString, QVariant> body;
        ScreenInfo::getInstance()->setBrightness(m_wall, m_screen, body, m_wanted * m_factor);
        m_write = OperationOutcome::last();
    }

    QString m_wall;
    QString m_screen;
    int m_factor; // the multi-screen protocol is sent the value divided by 255
    int m_wanted = -1;
    int m_sent = -1;
    OperationOutcome m_write;
    QTimer m_timer;
};
//! [slider]

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;
    const QString wall = devices.addresses.first();

    const bool multiScreen = HWInfo::getInstance()->getHwProtoc(wall, true);
    BrightnessSlider slider(wall, "1", multiScreen);

    // Somebody drags it from 0 to 60.
    int position = 0;
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, &application, [&] {
        if (position <= 60) {
            slider.setPercent(position++);
        } else if (!slider.isBusy()) {
            QCoreApplication::quit();
        }
    });
    hand.start(2);
    QTimer::singleShot(60000, &application, [] { QCoreApplication::exit(1); });
    if (QCoreApplication::exec() != 0 || !slider.error().isEmpty()) {
        return 1;
    }

    //! [check]
    QMap<QString, QVariant> brightness;
    const bool answered = ScreenInfo::getInstance()->getBrightness(wall, "1", brightness, true);
    QTextStream(stdout) << "the device has " << brightness["brightness"].toInt() << '\n';
    //! [check]
    return answered && brightness["brightness"].toInt() == 60 ? 0 : 1;
}
