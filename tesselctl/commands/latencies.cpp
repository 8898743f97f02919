// SPDX-License-Identifier: MIT
#include "tesselctl/commands/latencies.h"

#include <algorithm>
#include <cmath>

namespace TesselCtl {

namespace {

double rounded(double milliseconds)
{
    return std::round(milliseconds * 100) / 100;
}

} // namespace

double Latencies::percentile(double share) const
{
    if (m_all.empty()) {
        return 0;
    }
    std::vector<double> sorted = m_all;
    std::sort(sorted.begin(), sorted.end());
    const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(sorted.size())));
    return sorted[std::clamp<std::size_t>(rank, 1, sorted.size()) - 1];
}

QVariantMap Latencies::toObject() const
{
    return {{QStringLiteral("requests"), static_cast<int>(m_all.size()) + m_errors},
            {QStringLiteral("errors"), m_errors},
            {QStringLiteral("min"), rounded(percentile(0))},
            {QStringLiteral("p50"), rounded(percentile(0.5))},
            {QStringLiteral("p90"), rounded(percentile(0.9))},
            {QStringLiteral("p99"), rounded(percentile(0.99))},
            {QStringLiteral("max"), rounded(percentile(1))}};
}

QString Latencies::histogram() const
{
    constexpr int widest = 40;
    constexpr int limitWidth = 8;
    if (m_all.empty()) {
        return {};
    }
    const double slowest = percentile(1);
    double limit = 0.25;
    while (limit < percentile(0)) {
        limit *= 2;
    }
    std::vector<std::pair<double, int>> ranges;
    for (double least = 0;; least = limit, limit *= 2) {
        const auto within = [&](double one) { return one <= limit && (one > least || least <= 0); };
        ranges.emplace_back(limit, static_cast<int>(std::count_if(m_all.begin(), m_all.end(), within)));
        if (limit >= slowest) {
            break;
        }
    }
    int most = 1;
    for (const auto& range : ranges) {
        most = std::max(most, range.second);
    }
    QString text;
    for (const auto& [upTo, count] : ranges) {
        const int length = count == 0 ? 0 : std::max(1, count * widest / most);
        text += QStringLiteral("  up to %1 ms  %2 %3\n")
                    .arg(QString::number(upTo).rightJustified(limitWidth), QString(length, QLatin1Char('#')))
                    .arg(count);
    }
    return text;
}

} // namespace TesselCtl
