// Whether what is held grows. Medians are compared: of the first third of the samples and of the last.
#pragma once

#include "tests/soak/Holdings.h"

#include <string>
#include <vector>

namespace soak {

// The samples as a table, and the medians of their first and last thirds.
void Print(const std::vector<Holdings>& samples);

// What grew from the first third of the samples to the last, a sentence each; also that the clock was off, or
// could be told nowhere. What may be gained is less when the samples cover an hour or more.
std::vector<std::string> Growth(const std::vector<Holdings>& samples);

} // namespace soak
