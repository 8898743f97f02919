// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_LATENCIES_H
#define TESSELCTL_COMMANDS_LATENCIES_H

#include <QString>
#include <QVariant>

#include <vector>

namespace TesselCtl {

/// How long requests took.
class Latencies
{
public:
    void add(double milliseconds) { m_all.push_back(milliseconds); }
    void addError() { ++m_errors; }

    /// The least time within which @p share of 1 of the requests were answered; 0 if none was.
    double percentile(double share) const;

    /// `requests`, `errors`, and in milliseconds `min`, `p50`, `p90`, `p99` and `max`.
    QVariantMap toObject() const;
    /// Bars for the numbers of requests by their time, each range twice as long as the one before; a line
    /// each.
    QString histogram() const;

private:
    std::vector<double> m_all;
    int m_errors = 0;
};

} // namespace TesselCtl

#endif
