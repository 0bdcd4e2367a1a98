// What was measured, and the table that it is printed in.
#pragma once

#include <string>
#include <vector>

namespace bench {

// The measured values of one thing, one a run or one a try.
class Series {
  public:
    void Add(double value) { m_values.push_back(value); }
    void Add(const std::vector<double>& values) {
        m_values.insert(m_values.end(), values.begin(), values.end());
    }
    // Value by value; both hold as many.
    Series Plus(const Series& other) const;
    bool Empty() const { return m_values.empty(); }
    std::size_t Count() const { return m_values.size(); }
    // The value that `share` of all lie below: 0.5 is the median, 1 the greatest. 0 without any value.
    double Quantile(double share) const;
    double Median() const { return Quantile(0.5); }

  private:
    std::vector<double> m_values;
};

// One line of the table: medians, unless `quantile` says otherwise.
struct Row {
    std::string what;
    std::string unit;
    Series ours;
    Series limit = {}; // the same work done by the bare library; empty where there is none
    Series mpv = {};   // empty where mpv is not there or cannot do it
    std::string goal = {};
    double quantile = 0.5;
};

void PrintHead();
void Print(const Row& row);
// A line in place of rows that cannot be measured.
void PrintMissing(const std::string& what, const std::string& why);

} // namespace bench
