#include "bench/EngineTable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace bench {

namespace {

// Three digits that say something.
std::string Text(double value) {
    char text[32];
    const double size = std::fabs(value);
    const int digits = size >= 100 ? 0 : size >= 10 ? 1 : size >= 1 ? 2 : 3;
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    return text;
}

} // namespace

Series Series::Plus(const Series& other) const {
    Series sum;
    for (std::size_t index = 0; index < m_values.size(); ++index)
        sum.Add(m_values[index] + other.m_values.at(index));
    return sum;
}

double Series::Quantile(double share) const {
    if (m_values.empty()) return 0.0;
    std::vector<double> sorted = m_values;
    std::sort(sorted.begin(), sorted.end());
    const auto place = static_cast<std::size_t>(share * static_cast<double>(sorted.size()));
    return sorted[std::min(place, sorted.size() - 1)];
}

void PrintHead() {
    std::printf("| %-52s | %-9s | %-15s | %-4s | %-8s | %-5s | %-8s | goal |\n", "what", "ours",
                "least..most", "unit", "limit", "ratio", "mpv");
    std::printf("|---|---|---|---|---|---|---|---|\n");
    std::fflush(stdout);
}

void Print(const Row& row) {
    const double ours = row.ours.Quantile(row.quantile);
    const double limit = row.limit.Quantile(row.quantile);
    const std::string range = Text(row.ours.Quantile(0.0)) + ".." + Text(row.ours.Quantile(1.0));
    std::printf("| %-52s | %-9s | %-15s | %-4s | %-8s | %-5s | %-8s | %s |\n", row.what.c_str(),
                row.ours.Empty() ? "none" : Text(ours).c_str(), range.c_str(), row.unit.c_str(),
                row.limit.Empty() ? "" : Text(limit).c_str(),
                row.limit.Empty() || limit <= 0.0 ? "" : Text(ours / limit).c_str(),
                row.mpv.Empty() ? "" : Text(row.mpv.Quantile(row.quantile)).c_str(), row.goal.c_str());
    std::fflush(stdout);
}

void PrintMissing(const std::string& what, const std::string& why) {
    std::printf("| %-52s | not measured: %s |||||||\n", what.c_str(), why.c_str());
    std::fflush(stdout);
}

} // namespace bench
