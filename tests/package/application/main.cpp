// SPDX-License-Identifier: MIT
//
// An application as it sees an installed library: the same include paths as in the source tree.
#include <communicator/deviceendpoint.h>
#include <communicator/exchangeid.h>
#include <communicator/exchangeobserver.h>
#include <communicator/httpengine.h>
#include <communicator/httpjsonpackage.h>
#include <communicator/httpmutilpartpackage.h>
#include <communicator/httpproxy.h>
#include <communicator/ihttpversiontrigger.h>
#include <communicator/ipackagetrigger.h>
#include <communicator/jsonutil.h>
#include <tessel/algorithm.h>
#include <tessel/allurlresource.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/capability.h>
#include <tessel/correctionop.h>
#include <tessel/debuginfo.h>
#include <tessel/devicemanager.h>
#include <tessel/factoryop.h>
#include <tessel/hwinfo.h>
#include <tessel/hwscreeninfo.h>
#include <tessel/inputinfo.h>
#include <tessel/monitorinfo.h>
#include <tessel/outputinfooperator.h>
#include <tessel/pipeinfo.h>
#include <tessel/records/cabinetinfo.h>
#include <tessel/records/coeffsdata.h>
#include <tessel/records/deviceinfo.h>
#include <tessel/records/point.h>
#include <tessel/records/screensinfo.h>
#include <tessel/records/size.h>
#include <tessel/records/subscreeninfo.h>
#include <tessel/rvcarddisplayeffect.h>
#include <tessel/screeninfo.h>
#include <testing/recordingengine.h>
#include <zephserializer/abstractserializer.h>
#include <zephserializer/attribute.h>
#include <zephserializer/jsonserializer.h>
#include <zephserializer/serializable.h>

#include <QCoreApplication>
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
#include <QPromise> // Qt's own, which differs from that of QtPromise
#endif
#include <QtPromise>

static_assert(__cplusplus >= 201703L, "C++17 comes with the targets, whatever this project asks for");

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    QList<QVariant> result{1};
    const bool reached = Capability::getInstance()->getAllChipType(QStringLiteral("no such device"), result);
    const bool known =
        AllUrlResource::getUrl(QStringLiteral("Device_Hwinfo")) == AllUrlResource::Device_Hwinfo;
    const auto promise = QtPromise::resolve(Tessel::DeviceInfo());

    // What the tests of such an application would do.
    auto* const engine = Tessel::Testing::RecordingEngine::install();
    engine->answerNext(Tessel::Testing::RecordingEngine::data(R"([{"id":1}])"));
    QList<QVariant> chips;
    const bool answered = Capability::getInstance()->getAllChipType(QStringLiteral("wall"), chips);
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    QPromise<int> qtsOwn;
    qtsOwn.start();
    qtsOwn.addResult(1);
    qtsOwn.finish();
    const bool bothWork = QtPromise::resolve(qtsOwn.future()).wait().isFulfilled();
#else
    const bool bothWork = true;
#endif
    const bool isRight = !reached && result.isEmpty() && known && promise.isFulfilled() && bothWork;
    return isRight && answered && chips.size() == 1 ? 0 : 1;
}
