// SPDX-License-Identifier: MIT
#include "calls.h"

#include <communicator/calloutcome.h>
#include <communicator/httpproxy.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/capability.h>
#include <tessel/correctionop.h>
#include <tessel/hwinfo.h>
#include <tessel/inputinfo.h>
#include <tessel/monitorinfo.h>
#include <tessel/outputinfooperator.h>
#include <tessel/pipeinfo.h>
#include <tessel/screeninfo.h>

using namespace Krelm::Communicator::HttpDevice;

namespace {

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

QString anyCabinet(const SoakDevice& device, QRandomGenerator& random)
{
    return device.cabinets[random.bounded(device.cabinets.size())];
}

List coefficients()
{
    List list;
    for (int module = 0; module < 16; ++module) {
        list.append(QVariantMap{{QStringLiteral("module"), module},
                                {QStringLiteral("matrix"), List{0.9, 0.01, 0.01, 0.02, 0.8}}});
    }
    return list;
}

/// A call, its device, and where a download goes. @return what the operation returned.
using BlockingCall = bool (*)(const SoakDevice& device, QRandomGenerator& random, const QString& file);

const BlockingCall blockingCalls[] = {
    [](const SoakDevice& device, QRandomGenerator&, const QString&) {
        List chips;
        return Capability::getInstance()->getAllChipType(device.key, chips);
    },
    [](const SoakDevice& device, QRandomGenerator&, const QString&) {
        List decoders;
        return Capability::getInstance()->getRowDecodeType(device.key, decoders);
    },
    [](const SoakDevice& device, QRandomGenerator& random, const QString&) {
        Map reply;
        return HWInfo::getInstance()->putHWInfoRename(
            device.key, {{QStringLiteral("customName"), QStringLiteral("Wall %1").arg(random.bounded(1000))}},
            reply);
    },
    [](const SoakDevice& device, QRandomGenerator&, const QString&) {
        Map delay;
        return HWInfo::getInstance()->getHWInfoSignalDelayTime(device.key, delay);
    },
    [](const SoakDevice& device, QRandomGenerator& random, const QString&) {
        Map body{{QStringLiteral("enable"), random.bounded(2) == 0}};
        Map reply;
        return OutputInfoOperator::getInstance()->setOutputEnable(device.key, QStringLiteral("2"), body,
                                                                  reply);
    },
    [](const SoakDevice& device, QRandomGenerator& random, const QString&) {
        Map reply;
        return PipeInfo::getInstance()->putDeviceOnePipeMirrorMode(
            device.key, QStringLiteral("1"), {{QStringLiteral("mirrorMode"), random.bounded(4)}}, reply);
    },
    [](const SoakDevice& device, QRandomGenerator& random, const QString&) {
        Map reply;
        return CabinetInfoOperator::getInstance()->setSingleCabinetWeight(
            device.key, anyCabinet(device, random), {{QStringLiteral("weight"), random.bounded(10000)}},
            reply);
    },
    [](const SoakDevice& device, QRandomGenerator& random, const QString&) {
        Map reply;
        return InputInfo::getInstance()->setHue(device.key, QStringLiteral("1"),
                                                {{QStringLiteral("hue"), random.bounded(100)}}, reply);
    },
    [](const SoakDevice& device, QRandomGenerator&, const QString&) {
        List edids;
        return InputInfo::getInstance()->getEDIDs(device.key, {QStringLiteral("1"), QStringLiteral("2")},
                                                  edids);
    },
    [](const SoakDevice& device, QRandomGenerator&, const QString&) {
        Map state;
        return UrlResource::MonitorInfo::getInstance()->getMonitorState(device.key, state);
    },
    // A form with a file, and a file that comes back.
    [](const SoakDevice& device, QRandomGenerator& random, const QString&) {
        Map reply;
        return HWInfo::getInstance()->putDeviceImage(
            device.key, {{QStringLiteral("file"), QByteArray(random.bounded(1, 64) * 1024, 'x')}}, reply);
    },
    [](const SoakDevice& device, QRandomGenerator& random, const QString& file) {
        return CabinetInfoOperator::getInstance()->getRvCardFirmware(device.key, anyCabinet(device, random),
                                                                     1, file);
    },
};

using Call = void (*)(const SoakDevice& device, QRandomGenerator& random);

const Call calls[] = {
    [](const SoakDevice& device, QRandomGenerator&) {
        Map description;
        HWInfo::getInstance()->getHWInfo(device.key, description, false);
    },
    [](const SoakDevice& device, QRandomGenerator& random) {
        Map cabinet;
        CabinetInfoOperator::getInstance()->getCabinetInfo(device.key, anyCabinet(device, random), cabinet);
    },
    [](const SoakDevice& device, QRandomGenerator&) {
        List pipelines;
        PipeInfo::getInstance()->getDevicePipes(device.key, pipelines, false);
    },
    [](const SoakDevice& device, QRandomGenerator&) {
        HWInfo::getInstance()->getHWInfo2(device.key).fail([] { return Tessel::DeviceInfo(); });
    },
    [](const SoakDevice& device, QRandomGenerator&) {
        ScreenInfo::getInstance()->getScreens2(device.key).fail([] { return Tessel::ScreensInfo(); });
    },
    [](const SoakDevice& device, QRandomGenerator&) {
        CabinetInfoOperator::getInstance()->getAllCabinets(device.key).fail([] {
            return QList<Tessel::CabinetInfo>();
        });
    },
    [](const SoakDevice& device, QRandomGenerator& random) {
        Correctionop::getInstance()->uploadCoefficient(device.key, anyCabinet(device, random),
                                                       coefficients());
    },
    [](const SoakDevice& device, QRandomGenerator& random) {
        Map reply;
        ScreenInfo::getInstance()->setBrightnessMode(
            device.key, QStringLiteral("1"), {{QStringLiteral("brightnessMode"), random.bounded(3)}}, reply);
    },
    [](const SoakDevice& device, QRandomGenerator& random) {
        Map reply;
        ScreenInfo::getInstance()->putScreenName(
            device.key,
            {{QStringLiteral("screenName"), QStringLiteral("Screen %1").arg(random.bounded(1000))}}, reply);
    },
    [](const SoakDevice& device, QRandomGenerator& random) {
        Map body{{QStringLiteral("brightness"), random.bounded(100)}};
        Map reply;
        CabinetInfoOperator::getInstance()->setCabSingleBrightness(device.key, anyCabinet(device, random),
                                                                   body, reply);
    },
    [](const SoakDevice& device, QRandomGenerator& random) {
        if (random.bounded(20) == 0) {
            HttpProxy::getInstance()->cancelAll(device.key);
        }
    },
};

} // namespace

Traffic::Traffic()
    : m_observer(addExchangeObserver([this](const ExchangeRecord& record) {
        if (!record.isRepeated) {
            (record.state == IHttpVersionTrigger::Success ? m_succeeded : m_failed) += 1;
        }
    }))
{}

bool Traffic::isQuiet() const
{
    return exchangesBegun() == m_succeeded + m_failed;
}

BlockingCallers::BlockingCallers(const Fleet& fleet, quint32 seed, const QString& folder)
    : m_fleet(fleet)
{
    // An operator lives on the thread that asks for it first, and gets events there: not on one of the
    // callers.
    Capability::getInstance();
    CabinetInfoOperator::getInstance();
    Correctionop::getInstance();
    HWInfo::getInstance();
    InputInfo::getInstance();
    OutputInfoOperator::getInstance();
    PipeInfo::getInstance();
    ScreenInfo::getInstance();
    UrlResource::MonitorInfo::getInstance();
    for (int i = 0; i < callerThreads; ++i) {
        const QString file = QStringLiteral("%1/firmware %2").arg(folder).arg(i);
        m_threads.emplace_back(
            QThread::create([=] { callUntilTheEnd(seed + static_cast<quint32>(i), file); }));
        m_threads.back()->start();
    }
}

BlockingCallers::~BlockingCallers()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isOver = true;
    }
    m_changed.notify_all();
    for (const auto& thread : m_threads) {
        thread->wait();
    }
}

void BlockingCallers::pause()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isPaused = true;
}

void BlockingCallers::resume()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isPaused = false;
    }
    m_changed.notify_all();
}

bool BlockingCallers::isQuiet()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_underWay == 0;
}

bool BlockingCallers::begin()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_isOver || !m_isPaused; });
    m_underWay += m_isOver ? 0 : 1;
    return !m_isOver;
}

void BlockingCallers::end()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_underWay;
}

void BlockingCallers::callUntilTheEnd(quint32 seed, const QString& file)
{
    QRandomGenerator random(seed);
    while (begin()) {
        const SoakDevice& device = *m_fleet[static_cast<std::size_t>(random.bounded(int(m_fleet.size())))];
        const BlockingCall call = blockingCalls[random.bounded(int(std::size(blockingCalls)))];
        if (!call(device, random, file)) {
            const OperationOutcome outcome = OperationOutcome::last();
            m_unexplained += outcome.hasFailed() && !outcome.text().isEmpty() ? 0 : 1;
        }
        end();
        QThread::msleep(random.bounded(10U));
    }
}

void callWithoutWaiting(const SoakDevice& device, QRandomGenerator& random)
{
    calls[random.bounded(int(std::size(calls)))](device, random);
}
