// SPDX-License-Identifier: MIT
//
// Records: read from any text, written, read again.
#include "json/jsonreader.h"
#include "json/jsonwriter.h"

#include "fuzzing.h"

#include <tessel/envelopes/cabinetsresponse.h>
#include <tessel/envelopes/commonresponse.h>
#include <tessel/envelopes/variantmapresponse.h>
#include <tessel/envelopes/variantresponse.h>
#include <tessel/records/cabinetinfo.h>
#include <tessel/records/coeffsdata.h>
#include <tessel/records/deviceinfo.h>
#include <tessel/records/point.h>
#include <tessel/records/screensinfo.h>
#include <tessel/records/size.h>
#include <tessel/records/subscreeninfo.h>
#include <zephserializer/jsonserializer.h>

#include <QMetaProperty>

#include <memory>

namespace Json = Krelm::Communicator::Json;
using Zeph::Serialize::JsonSerializer;
using Zeph::Serialize::NoAttribute;
using Zeph::Serialize::Serializable;

namespace {

// A record's integers are unset until they are assigned.
void zeroIntegers(Serializable& record)
{
    const QMetaObject* const meta = record.metaObject();
    QVariantMap zeros;
    for (int i = 0; i < meta->propertyCount(); ++i) {
        if (meta->property(i).userType() == QMetaType::Int) {
            zeros.insert(QString::fromLatin1(meta->property(i).name()), 0);
        }
    }
    record.deserialize(zeros, NoAttribute);
}

QByteArray written(const Serializable& record)
{
    return Json::write(record.serialize(NoAttribute));
}

template <typename Record>
void tryRecord(const QByteArray& text, bool isObject, const QString& member)
{
    Record record;
    zeroIntegers(record);
    const QByteArray before = written(record);
    FUZZ_EXPECT(!before.isEmpty());
    const JsonSerializer serializer;
    const bool isRead = serializer.load(text, &record, QString());
    FUZZ_EXPECT(isRead == isObject);
    const QByteArray first = written(record);
    FUZZ_EXPECT(isRead || first == before);

    const std::unique_ptr<Serializable> copy(record.clone());
    FUZZ_EXPECT(written(*copy) == first);

    if (!isRead || first.isEmpty()) {
        return;
    }
    // Reading it twice changes nothing.
    FUZZ_EXPECT(serializer.load(text, &record, QString()));
    // What has been read once is read again as it was, one level of conversions later.
    Record again;
    zeroIntegers(again);
    FUZZ_EXPECT(serializer.load(first, &again, QString()));
    const QByteArray second = written(again);
    Record third;
    zeroIntegers(third);
    FUZZ_EXPECT(serializer.load(second, &third, QString()));
    FUZZ_EXPECT(written(third) == second);

    // One member by itself is a document too.
    QVariantMap members;
    FUZZ_EXPECT(JsonText::readObject(text, members));
    const bool isThere = members.value(member).userType() == QMetaType::QVariantMap;
    FUZZ_EXPECT(member.isEmpty() || serializer.load(text, &record, member) == isThere);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const QByteArray text = Fuzzing::Input(bytes, size).rest();
    QVariantMap members;
    const bool isObject = JsonText::readObject(text, members);
    const QString member = members.isEmpty() ? QString() : members.lastKey();
    tryRecord<Tessel::Point>(text, isObject, member);
    tryRecord<Tessel::Size>(text, isObject, member);
    tryRecord<Tessel::DeviceInfo>(text, isObject, member);
    tryRecord<Tessel::CabinetInfo>(text, isObject, member);
    tryRecord<Tessel::SubScreenInfo>(text, isObject, member);
    tryRecord<Tessel::ScreensInfo>(text, isObject, member);
    tryRecord<CoeffsData>(text, isObject, member);
    tryRecord<Tessel::CommonResponse>(text, isObject, member);
    tryRecord<Tessel::VariantResponse>(text, isObject, member);
    tryRecord<Tessel::VariantMapResponse>(text, isObject, member);
    tryRecord<Tessel::CabinetsResponse>(text, isObject, member);
    return 0;
}
