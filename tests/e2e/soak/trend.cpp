#include "trend.h"

namespace kxtest {

double GrowthPerPlace(const Series& series) {
    double place_sum = 0;
    double value_sum = 0;
    for (const auto& [place, value] : series) {
        place_sum += place;
        value_sum += value;
    }
    const auto count = static_cast<double>(series.size());
    const double place_mean = place_sum / count;
    const double value_mean = value_sum / count;
    double together = 0;
    double alone = 0;
    for (const auto& [place, value] : series) {
        together += (place - place_mean) * (value - value_mean);
        alone += (place - place_mean) * (place - place_mean);
    }
    return together / alone;
}

}  // namespace kxtest
