#include "tests/soak/Growth.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <optional>

namespace soak {

namespace {

// What may be gained without being called growth. A short run sees an allocator's and a decoder's whims, and
// what libraries open once, when they first need it. What every opening of a file leaks comes to dozens.
constexpr double kMemoryShare = 1.1;
constexpr double kMemoryMb = 12.0;
constexpr double kLateComers = 2;
// From an hour on all that comes late has come in the first third, and the thirds are a hundred samples and
// more. Memory: the thirds of two hours in which nothing grew lay 1.6 MB apart. Beside that comes what the
// samples' own wavering can do.
constexpr double kLongSeconds = 3600.0;
constexpr double kLongMemoryMb = 4.0;
constexpr double kLongLateComers = 1;
// Medians of two times n samples whose median deviation is d differ by chance with a standard deviation of
// 1.25 * 1.48 d * sqrt(2 / n); this is three times that.
constexpr double kChance = 7.9;
// Over two and a half seconds that are looked at, half of the pictures lie 0.6 s or more from the one in
// their middle: three in a hundred too fast or too slow come to this.
constexpr double kClockMs = 18.0;

struct Column {
    const char* name;
    double (*value)(const Holdings&);
    bool is_memory;
};

constexpr Column kColumns[] = {
    {"memory MB", [](const Holdings& h) { return h.memory_mb; }, true},
    {"mapped MB", [](const Holdings& h) { return h.mapped_mb; }, true},
    {"heap MB", [](const Holdings& h) { return h.heap_mb; }, true},
    {"threads", [](const Holdings& h) { return static_cast<double>(h.threads); }, false},
    {"files", [](const Holdings& h) { return static_cast<double>(h.descriptors); }, false},
    {"X files", [](const Holdings& h) { return static_cast<double>(h.clients); }, false},
    {"windows", [](const Holdings& h) { return static_cast<double>(h.windows); }, false},
    {"X MB", [](const Holdings& h) { return h.server_mb; }, true},
    {"segments", [](const Holdings& h) { return static_cast<double>(h.segments); }, false},
};

double MiddleOf(std::vector<double> values) {
    if (values.empty()) return 0.0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::vector<double> Values(const std::vector<Holdings>& samples, std::size_t begin, std::size_t end,
                           const Column& column) {
    std::vector<double> values;
    for (std::size_t i = begin; i < end; ++i)
        values.push_back(column.value(samples[i]));
    return values;
}

// How far the median of as many samples may lie from theirs by chance.
double Chance(std::vector<double> values) {
    const double middle = MiddleOf(values);
    for (double& value : values)
        value = std::abs(value - middle);
    const double number = static_cast<double>(values.size());
    return kChance * MiddleOf(std::move(values)) / std::sqrt(number);
}

// The most that may be held at last, from what was held at first.
double Limit(const std::vector<double>& first, const Column& column, bool is_long) {
    const double middle = MiddleOf(first);
    if (!column.is_memory) return middle + (is_long ? kLongLateComers : kLateComers);
    return is_long ? middle + kLongMemoryMb + Chance(first) : middle * kMemoryShare + kMemoryMb;
}

// Nothing when it could be told nowhere.
std::optional<double> ClockError(const std::vector<Holdings>& samples, std::size_t begin, std::size_t end) {
    std::vector<double> errors;
    for (std::size_t i = begin; i < end; ++i) {
        if (samples[i].clock_error_ms) errors.push_back(*samples[i].clock_error_ms);
    }
    if (errors.empty()) return std::nullopt;
    return MiddleOf(std::move(errors));
}

std::string Text(const std::optional<double>& error) {
    if (!error) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", *error);
    return text;
}

std::size_t Third(const std::vector<Holdings>& samples) {
    return std::max<std::size_t>(samples.size() / 3, 1);
}

} // namespace

void Print(const std::vector<Holdings>& samples) {
    std::printf("%9s %8s", "seconds", "actions");
    for (const Column& column : kColumns)
        std::printf(" %9s", column.name);
    std::printf(" %9s\n", "clock ms");
    for (const Holdings& sample : samples) {
        std::printf("%9.0f %8ld", sample.seconds, sample.actions);
        for (const Column& column : kColumns)
            std::printf(" %9.1f", column.value(sample));
        std::printf(" %9s\n", Text(sample.clock_error_ms).c_str());
    }
    const std::size_t third = Third(samples);
    for (const bool last : {false, true}) {
        const std::size_t begin = last ? samples.size() - third : 0;
        std::printf("%18s", last ? "last third" : "first third");
        for (const Column& column : kColumns)
            std::printf(" %9.1f", MiddleOf(Values(samples, begin, begin + third, column)));
        std::printf(" %9s\n", Text(ClockError(samples, begin, begin + third)).c_str());
    }
}

std::vector<std::string> Growth(const std::vector<Holdings>& samples) {
    std::vector<std::string> growth;
    if (samples.size() < 3) return {"the run was too short to compare anything"};
    const std::size_t third = Third(samples);
    const bool is_long = samples.back().seconds >= kLongSeconds;
    for (const Column& column : kColumns) {
        const std::vector<double> first = Values(samples, 0, third, column);
        const double last = MiddleOf(Values(samples, samples.size() - third, samples.size(), column));
        if (last > Limit(first, column, is_long)) {
            growth.push_back(std::string(column.name) + " grew from " + std::to_string(MiddleOf(first)) +
                             " to " + std::to_string(last));
        }
    }
    const std::optional<double> error = ClockError(samples, 0, samples.size());
    if (!error) growth.push_back("the clock could be told nowhere");
    if (error.value_or(0.0) > kClockMs) growth.push_back("the clock is " + Text(error) + " ms off");
    return growth;
}

} // namespace soak
