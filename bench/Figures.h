#pragma once

#include <QList>

#include <algorithm>

// The times taken by one kind of measurement, in milliseconds.
struct Figures {
    QList<double> ms;

    double percentile(double p) const {
        QList<double> sorted = ms;
        std::sort(sorted.begin(), sorted.end());
        const auto at = static_cast<qsizetype>(p / 100.0 * static_cast<double>(sorted.size() - 1));
        return sorted.value(at);
    }
    double median() const { return percentile(50); }
};
