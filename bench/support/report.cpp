#include "report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace kxbench {
namespace {

int Width(std::string_view text) {
    return static_cast<int>(text.size());
}

void PrintValue(std::string_view what, double value, std::string_view unit) {
    std::printf("%.*s\t%.6g\t%.*s\t", Width(what), what.data(), value, Width(unit), unit.data());
}

}  // namespace

double Median(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    const std::size_t middle = samples.size() / 2;
    return samples.size() % 2 == 1 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
}

void Report(std::string_view what, double value, std::string_view unit, std::string_view reference,
            double reference_value) {
    PrintValue(what, value, unit);
    std::printf("%.*s\t%.6g\t", Width(reference), reference.data(), reference_value);
    if (reference_value > 0) {
        std::printf("%.3g\n", value / reference_value);
    } else {
        std::printf("-\n");
    }
    (void)std::fflush(stdout);
}

void Report(std::string_view what, double value, std::string_view unit) {
    PrintValue(what, value, unit);
    std::printf("-\t-\t-\n");
    (void)std::fflush(stdout);
}

void Fail(std::string_view why) {
    std::fprintf(stderr, "%.*s\n", Width(why), why.data());
    std::exit(EXIT_FAILURE);
}

}  // namespace kxbench
