// Whether a row of measurements grows.
#ifndef KXEPINFO_TESTS_E2E_SOAK_TREND_H
#define KXEPINFO_TESTS_E2E_SOAK_TREND_H

#include <utility>
#include <vector>

namespace kxtest {

// Measurements as (place, value), of at least two places.
using Series = std::vector<std::pair<double, double>>;

// The slope of the straight line that lies closest to all of them (least squares): how much the
// value grows from one place to the next.
double GrowthPerPlace(const Series& series);

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_SOAK_TREND_H
