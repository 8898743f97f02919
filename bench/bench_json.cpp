// SPDX-License-Identifier: MIT
// Compares the transport's JSON with QJsonDocument: decoding a list of cabinets and a small object, encoding
// the list. Variants alternate, and medians are compared; peak memory is measured in a separate process per
// variant. Goals: decode the list 4 times as fast with half the peak memory, and encode it 5 times as fast.
// Usage: bench_json [--ratios] [peaks], with "peaks" the peaks only.
#include "cabinetlist.h"
#include "peakmemory.h"
#include "ratios.h"

#include <json/jsonreader.h>
#include <json/jsonwriter.h>

#include <QElapsedTimer>
#include <QJsonDocument>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace Json = Krelm::Communicator::Json;

namespace {

QVariantMap documentObject(const QByteArray& text)
{
    return flattened(QJsonDocument::fromJson(text).toVariant().toMap().value("data").toMap());
}

QByteArray documentText(const QVariant& value)
{
    return QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact);
}

double seconds(const std::function<void()>& work, int repeat)
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < repeat; ++i) {
        work();
    }
    return double(timer.nsecsElapsed()) / 1e9 / repeat;
}

void compare(const char* what, const char* name, const std::function<void()>& theirs,
             const std::function<void()>& ours, int repeat)
{
    constexpr int rounds = 11;
    std::vector<double> theirTimes;
    std::vector<double> ourTimes;
    theirs();
    ours();
    for (int i = 0; i < rounds; ++i) {
        theirTimes.push_back(seconds(theirs, repeat));
        ourTimes.push_back(seconds(ours, repeat));
    }
    std::sort(theirTimes.begin(), theirTimes.end());
    std::sort(ourTimes.begin(), ourTimes.end());
    const double their = theirTimes[rounds / 2];
    const double our = ourTimes[rounds / 2];
    std::printf("%-28s QJsonDocument %10.1f us   ours %10.1f us   ratio %.2f\n", what, their * 1e6, our * 1e6,
                their / our);
    printRatio(name, their / our);
}

void comparePeak(const char* what, const char* name, const std::function<void()>& theirs,
                 const std::function<void()>& ours)
{
    const double their = addedPeak(theirs);
    const double our = addedPeak(ours);
    std::printf("%-28s QJsonDocument %10.1f MiB  ours %10.1f MiB  ratio %.2f\n", what, their, our,
                our / their);
    printRatio(name, our / their);
}

} // namespace

int main(int argc, char** argv)
{
    takeRatiosOption(argc, argv);
    const QByteArray list = cabinetListReply(10000);
    std::printf("list: %.2f MB\n", double(list.size()) / 1e6);
    comparePeak(
        "decode list, peak", "json/decode-list-peak", [&] { documentList(list); },
        [&] { JsonText::dataListFlattened(list); });
    const QVariant value = QVariant(JsonText::dataList(list));
    comparePeak(
        "encode list, peak", "json/encode-list-peak", [&] { documentText(value); },
        [&] { Json::write(value); });
    if (argc > 1) {
        return 0;
    }

    if (documentList(list) != JsonText::dataListFlattened(list)) {
        std::puts("the results differ");
        return 1;
    }
    const QByteArray object = Json::write(envelope(flattened({{"a", cabinet(1)}, {"b", cabinet(2)}})));
    compare(
        "decode list", "json/decode-list", [&] { documentList(list); },
        [&] { JsonText::dataListFlattened(list); }, 1);
    std::printf("object: %d bytes\n", object.size());
    compare(
        "decode object", "json/decode-object", [&] { documentObject(object); },
        [&] { JsonText::dataFlattened(object); }, 300);
    compare(
        "check list", "json/check-list", [&] { documentList(list); }, [&] { JsonText::isComplete(list); }, 1);
    compare(
        "encode list", "json/encode-list", [&] { documentText(value); }, [&] { Json::write(value); }, 1);
    const QVariant small = cabinet(1);
    compare(
        "encode object", "json/encode-object", [&] { documentText(small); }, [&] { Json::write(small); },
        1000);
    return 0;
}
