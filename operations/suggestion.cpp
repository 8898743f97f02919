// SPDX-License-Identifier: MIT
#include "operations/suggestion.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Tessel::Operations {

int editDistance(const QString& left, const QString& right)
{
    const QString a = left.toCaseFolded();
    const QString b = right.toCaseFolded();
    // The last three rows of the matrix of distances between prefixes of a and b.
    std::vector<int> beforeLast;
    std::vector<int> last;
    std::vector<int> row;
    for (int j = 0; j <= b.size(); ++j) {
        row.push_back(j);
    }
    for (int i = 1; i <= a.size(); ++i) {
        beforeLast = std::exchange(last, row);
        row.assign(1, i);
        for (int j = 1; j <= b.size(); ++j) {
            const auto at = static_cast<std::size_t>(j);
            const int replaced = last[at - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            int best = std::min({last[at] + 1, row[at - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                best = std::min(best, beforeLast[at - 2] + 1);
            }
            row.push_back(best);
        }
    }
    return row.back();
}

QStringList nearest(const QString& wrong, const QStringList& known)
{
    const int limit = std::max(2, int(wrong.size()) / 3);
    std::vector<std::pair<int, QString>> ranked;
    for (const QString& candidate : known) {
        // A prefix counts as similar, however much is missing.
        const bool begins = wrong.size() >= 3 && candidate.startsWith(wrong, Qt::CaseInsensitive);
        const int distance = begins ? 1 : editDistance(wrong, candidate);
        if (distance <= limit) {
            ranked.emplace_back(distance, candidate);
        }
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& one, const auto& other) { return one.first < other.first; });
    QStringList names;
    for (const auto& entry : ranked) {
        if (names.size() < 3) {
            names << entry.second;
        }
    }
    return names;
}

QString didYouMean(const QString& wrong, const QStringList& known)
{
    QStringList names = nearest(wrong, known);
    if (names.isEmpty()) {
        return {};
    }
    const QString last = names.takeLast();
    const QString others = names.join(QStringLiteral(", "));
    return QStringLiteral("; did you mean ") +
           (names.isEmpty() ? last : others + QStringLiteral(" or ") + last) + QLatin1Char('?');
}

} // namespace Tessel::Operations
