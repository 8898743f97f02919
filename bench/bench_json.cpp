// SPDX-License-Identifier: MIT
// Compares the transport's JSON with QJsonDocument: decoding a list of cabinets and a small object, encoding
// the list. Variants take turns, medians count; peak memory is taken in a process of its own per variant.
#include <communicator/jsonreader.h>
#include <communicator/jsonwriter.h>

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Json = Krelm::Communicator::Json;

namespace {

QVariantMap cabinet(int number)
{
    const QVariantMap position{{"x", number % 100 * 128}, {"y", number / 100 * 128}};
    const QVariantMap capability{
        {"deviceType", 1}, {"maxBrightness", 5000}, {"hasModuleFlash", number % 2 == 0}};
    const QVariantList temperatures{30.5 + number % 10, 31.25, 29.75, 33.0};
    return {{"id", QString::number(10000000 + number)},
            {"version", "V2.1.0.0"},
            {"name", QString("Cabinet \u5c4f %1").arg(number)},
            {"outputId", number / 500},
            {"moduleCount", 16},
            {"weight", 7500},
            {"power", 120 + number % 7},
            {"voltage", 4.8 + (number % 5) * 0.1},
            {"position", position},
            {"size", QVariantMap{{"width", 128}, {"height", 128}}},
            {"capability", capability},
            {"temperatures", temperatures},
            {"online", true},
            {"model", "A10s Plus-N"},
            {"mac", QString("54:b5:6c:%1:%2").arg(number / 256, 2, 16).arg(number % 256, 2, 16)},
            {"firmware", QVariantMap{{"fpga", "4.6.2.0"}, {"mcu", "1.0.5"}, {"boot", "2.3"}}}};
}

QVariantMap reply(const QVariant& data)
{
    return {{"code", 0}, {"message", "ok"}, {"data", data}};
}

QVariantMap cabinetList()
{
    QVariantList list;
    for (int i = 0; i < 10000; ++i)
        list.append(cabinet(i));
    return reply(list);
}

void flatten(const QVariantMap& members, const QString& prefix, QVariantMap& out)
{
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        if (it.value().userType() == QMetaType::QVariantMap && !it.value().toMap().isEmpty())
            flatten(it.value().toMap(), prefix + it.key() + QLatin1Char('.'), out);
        else
            out.insert(prefix + it.key(), it.value());
    }
}

QVariantMap flattened(const QVariantMap& members)
{
    QVariantMap out;
    flatten(members, QString(), out);
    return out;
}

QVariantList documentList(const QByteArray& text)
{
    const QVariantList list = QJsonDocument::fromJson(text).toVariant().toMap().value("data").toList();
    QVariantList out;
    for (const QVariant& element : list)
        out.append(flattened(element.toMap()));
    return out;
}

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
    for (int i = 0; i < repeat; ++i)
        work();
    return double(timer.nsecsElapsed()) / 1e9 / repeat;
}

void compare(const char* what, const std::function<void()>& theirs, const std::function<void()>& ours,
             int repeat)
{
    constexpr int Rounds = 11;
    std::vector<double> theirTimes;
    std::vector<double> ourTimes;
    theirs();
    ours();
    for (int i = 0; i < Rounds; ++i) {
        theirTimes.push_back(seconds(theirs, repeat));
        ourTimes.push_back(seconds(ours, repeat));
    }
    std::sort(theirTimes.begin(), theirTimes.end());
    std::sort(ourTimes.begin(), ourTimes.end());
    const double their = theirTimes[Rounds / 2];
    const double our = ourTimes[Rounds / 2];
    std::printf("%-28s QJsonDocument %10.1f us   ours %10.1f us   ratio %.2f\n", what, their * 1e6, our * 1e6,
                their / our);
}

long residentPeak()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// What @p work adds to the peak of a process, in MiB.
double peak(const std::function<void()>& work)
{
    int channel[2];
    if (pipe(channel) != 0)
        return 0;
    const pid_t child = fork();
    if (child == 0) {
        const long before = residentPeak();
        work();
        const long grown = residentPeak() - before;
        _exit(::write(channel[1], &grown, sizeof grown) == sizeof grown ? 0 : 1);
    }
    long grown = 0;
    const bool received = child > 0 && ::read(channel[0], &grown, sizeof grown) == sizeof grown;
    waitpid(child, nullptr, 0);
    close(channel[0]);
    close(channel[1]);
    return received ? double(grown) / 1024 : 0;
}

void comparePeak(const char* what, const std::function<void()>& theirs, const std::function<void()>& ours)
{
    const double their = peak(theirs);
    const double our = peak(ours);
    std::printf("%-28s QJsonDocument %10.1f MiB  ours %10.1f MiB  ratio %.2f\n", what, their, our,
                our / their);
}

} // namespace

int main(int argc, char** argv)
{
    Q_UNUSED(argv)
    QByteArray list;
    {
        // Built in a process of its own, so that no freed memory blurs the peaks.
        int channel[2];
        if (pipe(channel) != 0)
            return 1;
        if (fork() == 0) {
            close(channel[0]);
            const QByteArray text = Json::write(cabinetList());
            int sent = 0;
            while (sent < text.size())
                sent += int(::write(channel[1], text.constData() + sent, std::size_t(text.size() - sent)));
            _exit(0);
        }
        close(channel[1]);
        list.reserve(16 << 20);
        char chunk[65536];
        for (ssize_t n = 0; (n = ::read(channel[0], chunk, sizeof chunk)) > 0;)
            list.append(chunk, int(n));
        close(channel[0]);
        wait(nullptr);
    }
    std::printf("list: %.2f MB\n", double(list.size()) / 1e6);
    comparePeak(
        "decode list, peak", [&] { documentList(list); }, [&] { Json::dataListFlattened(list); });
    const QVariant value = QVariant(Json::dataList(list));
    comparePeak(
        "encode list, peak", [&] { documentText(value); }, [&] { Json::write(value); });
    if (argc > 1)
        return 0;

    if (documentList(list) != Json::dataListFlattened(list)) {
        std::puts("the results differ");
        return 1;
    }
    const QByteArray object = Json::write(reply(flattened({{"a", cabinet(1)}, {"b", cabinet(2)}})));
    compare(
        "decode list", [&] { documentList(list); }, [&] { Json::dataListFlattened(list); }, 1);
    std::printf("object: %d bytes\n", object.size());
    compare(
        "decode object", [&] { documentObject(object); }, [&] { Json::dataFlattened(object); }, 300);
    compare(
        "check list", [&] { documentList(list); }, [&] { Json::isComplete(list); }, 1);
    compare(
        "encode list", [&] { documentText(value); }, [&] { Json::write(value); }, 1);
    const QVariant small = cabinet(1);
    compare(
        "encode object", [&] { documentText(small); }, [&] { Json::write(small); }, 1000);
    return 0;
}
