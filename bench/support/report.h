// What the measuring programs print, and what they make of many samples.
#ifndef KXEPINFO_BENCH_SUPPORT_REPORT_H
#define KXEPINFO_BENCH_SUPPORT_REPORT_H

#include <string_view>
#include <vector>

namespace kxbench {

// The middle of the samples, which outliers of a busy machine do not move; of an even number the
// mean of the two in the middle. `samples` is not empty.
double Median(std::vector<double> samples);

// Prints one line, with tab characters between: what was measured, its value, the unit, what it was
// compared with, the value of that, and value / reference (or "-" when the reference is 0).
void Report(std::string_view what, double value, std::string_view unit, std::string_view reference,
            double reference_value);

// The same without a comparison.
void Report(std::string_view what, double value, std::string_view unit);

// Says why nothing was measured, and ends the program with 1.
[[noreturn]] void Fail(std::string_view why);

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_REPORT_H
