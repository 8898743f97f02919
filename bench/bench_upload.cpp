// SPDX-License-Identifier: MIT
//
// Upload of coefficients to simulated devices in a separate process: the encoding of a whole list of
// about 64 mebibyte against QJsonDocument, the memory that its upload takes, and many uploads of single
// cabinets in flight at once. Usage: bench_upload [--ratios] [rounds of the encoding]
#include "interleaved.h"
#include "peakmemory.h"
#include "ratios.h"
#include "serverprocess.h"

#include <communicator/exchangeobserver.h>
#include <json/jsonwriter.h>
#include <simulator/iothreads.h>
#include <simulator/simulator.h>
#include <tessel/correctionop.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonDocument>
#include <QTimer>

#include <atomic>
#include <cstdio>
#include <cstdlib>

using Krelm::Communicator::HttpDevice::ExchangeRecord;
using Krelm::Communicator::HttpDevice::setExchangeObserver;
using Krelm::Communicator::Json::write;
using Tessel::Simulator::IoThreads;
using Tessel::Simulator::Options;
using Tessel::Simulator::Simulator;

namespace {

constexpr int deviceCount = 100;
constexpr int cabinetCount = 1000; // of the first device
constexpr int wholeList = 200000;
constexpr int cabinetList = 200; // of one cabinet, about 64 KiB
constexpr double mebibyte = 1 << 20;

QList<QVariant> coefficients(int count)
{
    QList<QVariant> list;
    list.reserve(count);
    for (int i = 0; i < count; ++i) {
        QList<QVariant> matrix;
        for (int k = 0; k < 9; ++k) {
            matrix.append((k % 4 == 0 ? 0.9 : 0.01) + (i * 9 + k) % 8191 * 1e-5);
        }
        list.append(QVariantMap{
            {QStringLiteral("cabinetId"), 100000 + i / 16},
            {QStringLiteral("module"), i % 16},
            {QStringLiteral("layer"), i % 3},
            {QStringLiteral("enable"), true},
            {QStringLiteral("width"), 128},
            {QStringLiteral("height"), 128},
            {QStringLiteral("gamut"), QStringLiteral("BT.709")},
            {QStringLiteral("source"), QStringLiteral("camera calibration 2026-03-01")},
            {QStringLiteral("checksum"), QString::number(0x9e3779b9U * uint(i), 16)},
            {QStringLiteral("comment"), QStringLiteral("measured after four hours of warming up")},
            {QStringLiteral("matrix"), matrix}});
    }
    return list;
}

void serve(const std::function<void(const std::string&)>& ready)
{
    const auto threads = std::make_shared<IoThreads>(1);
    std::vector<std::unique_ptr<Simulator>> fleet;
    std::string addresses;
    for (int i = 0; i < deviceCount; ++i) {
        Options options;
        options.requestLog = 0;
        options.cabinets = i == 0 ? cabinetCount : 16;
        fleet.push_back(std::make_unique<Simulator>(options, threads));
        if (!fleet.back()->start()) {
            return;
        }
        addresses += fleet.back()->address().toStdString() + ' ';
    }
    ready(addresses);
}

/// Counts the successful exchanges.
std::atomic<int> succeeded{0};

/// Runs an event loop until all promises created by @p start have settled. @return seconds; negative if some
/// did not settle.
template <class Start>
double untilSettled(int count, Start start)
{
    QEventLoop loop;
    int settled = 0;
    succeeded = 0;
    setExchangeObserver([](const ExchangeRecord& record) { succeeded += record.state == 0 ? 1 : 0; });
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < count; ++i) {
        start(i).finally([&] {
            if (++settled == count) {
                loop.quit();
            }
        });
    }
    QTimer::singleShot(120000, &loop, [&] { loop.exit(1); });
    const bool all = loop.exec() == 0;
    setExchangeObserver(nullptr);
    return all ? static_cast<double>(clock.nsecsElapsed()) / 1e9 : -1;
}

/// How much the uploads of @p data by @p start add to the peak memory of a separate process, in mebibyte.
template <class Start>
double uploadApart(int& argc, char** argv, int entries, int count, Start start)
{
    return measuredApart([&] {
        const QCoreApplication app(argc, argv);
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
        const QList<QVariant> data = coefficients(entries);
        // The first use of the transport and its libraries has a one-time cost, whatever is sent.
        const double fresh = residentPeak();
        const QList<QVariant> small = coefficients(1);
        untilSettled(1, [&](int i) { return start(i, small); });
        const double before = residentPeak();
        std::printf("  first use of the transport: %.1f mebibyte\n", before - fresh);
        const double seconds = untilSettled(count, [&](int i) { return start(i, data); });
        std::printf("  %d of %d uploads succeeded, all settled: %s, %.2f s\n", succeeded.load(), count,
                    seconds < 0 ? "no" : "yes", seconds);
        return residentPeak() - before;
    });
}

double textSize(int entries)
{
    return measuredApart([&] { return write(coefficients(entries)).size() / mebibyte; });
}

void measureEncoding(int rounds)
{
    const QVariant value(coefficients(wholeList));
    const auto figures =
        measureInterleaved({{"", [&] { write(value); }},
                            {"", [&] { QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact); }}},
                           rounds, 1);
    const double megabytes = write(value).size() / 1e6;
    std::printf("encoding of %.1f MB: %.0f MB/s, QJsonDocument %.0f MB/s: %.1f times as fast (wanted: at "
                "least 5)\n",
                megabytes, megabytes / figures[0].median * 1e6, megabytes / figures[1].median * 1e6,
                figures[1].median / figures[0].median);
    printRatio("upload/encode", figures[1].median / figures[0].median);
}

} // namespace

int main(int argc, char** argv)
{
    takeRatiosOption(argc, argv);
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    const ServerProcess server(serve);
    const QStringList keys =
        QString::fromStdString(server.address()).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (keys.size() != deviceCount) {
        std::fprintf(stderr, "bench_upload: the server did not start\n");
        return 1;
    }

    Correctionop* const correction = Correctionop::getInstance();
    const double whole = textSize(wholeList);
    const double part = textSize(cabinetList);
    std::printf("whole list of %.1f mebibyte\n", whole);
    const double wholePeak = uploadApart(argc, argv, wholeList, 1, [&](int, const QList<QVariant>& data) {
        return correction->uploadCoefficientAsync(keys.first(), data);
    });
    std::printf("  peak beyond the variants: %.1f mebibyte, %.2f times the text (wanted: at most 1.1)\n",
                wholePeak, wholePeak / whole);
    printRatio("upload/peak", wholePeak / whole);

    std::printf("1,000 uploads of %.0f KiB at once to one device\n", part * 1024);
    const double onePeak =
        uploadApart(argc, argv, cabinetList, cabinetCount, [&](int i, const QList<QVariant>& data) {
            return correction->uploadCoefficient(keys.first(), QString::number(i + 1), data);
        });
    std::printf("  peak: %.1f mebibyte for %.1f mebibyte of text\n", onePeak, cabinetCount * part);

    std::printf("10 uploads of %.0f KiB at once to each of %d devices\n", part * 1024, deviceCount);
    const double manyPeak =
        uploadApart(argc, argv, cabinetList, 10 * deviceCount, [&](int i, const QList<QVariant>& data) {
            return correction->uploadCoefficient(keys[i % deviceCount], QString::number(i / deviceCount + 1),
                                                 data);
        });
    std::printf("  peak: %.1f mebibyte for %.1f mebibyte of text\n", manyPeak, 10 * deviceCount * part);

    measureEncoding(rounds);
    return 0;
}
