// SPDX-License-Identifier: MIT
#include "cabinetlist.h"

#include <json/jsonwriter.h>

#include <QJsonDocument>

#include <sys/wait.h>
#include <unistd.h>

namespace {

void flatten(const QVariantMap& members, const QString& prefix, QVariantMap& out)
{
    for (auto it = members.cbegin(); it != members.cend(); ++it) {
        if (it.value().userType() == QMetaType::QVariantMap && !it.value().toMap().isEmpty()) {
            flatten(it.value().toMap(), prefix + it.key() + QLatin1Char('.'), out);
        } else {
            out.insert(prefix + it.key(), it.value());
        }
    }
}

QByteArray writtenList(int count)
{
    QVariantList list;
    for (int i = 0; i < count; ++i) {
        list.append(cabinet(i));
    }
    return Krelm::Communicator::Json::write(envelope(list));
}

} // namespace

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

QVariantMap envelope(const QVariant& data)
{
    return {{"code", 0}, {"message", "ok"}, {"data", data}};
}

QByteArray cabinetListReply(int count)
{
    int channel[2];
    if (pipe(channel) != 0) {
        return {};
    }
    const pid_t child = fork();
    if (child == 0) {
        close(channel[0]);
        const QByteArray text = writtenList(count);
        int sent = 0;
        for (ssize_t n = 1; sent < text.size() && n > 0; sent += static_cast<int>(n)) {
            n = ::write(channel[1], text.constData() + sent, static_cast<std::size_t>(text.size() - sent));
        }
        _exit(0);
    }
    close(channel[1]);
    QByteArray reply;
    reply.reserve(count * 1024);
    char chunk[65536];
    for (ssize_t n = 0; (n = ::read(channel[0], chunk, sizeof chunk)) > 0;) {
        reply.append(chunk, static_cast<int>(n));
    }
    close(channel[0]);
    waitpid(child, nullptr, 0);
    return reply;
}

QVariantMap flattened(const QVariantMap& members)
{
    QVariantMap out;
    flatten(members, QString(), out);
    return out;
}

QVariantList documentList(const QByteArray& reply)
{
    const QVariantList list = QJsonDocument::fromJson(reply).toVariant().toMap().value("data").toList();
    QVariantList out;
    for (const QVariant& element : list) {
        out.append(flattened(element.toMap()));
    }
    return out;
}
