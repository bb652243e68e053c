// What the measuring programs print: rows of one table, each a measurement beside its floor.
#ifndef KXEPINFO_BENCH_SUPPORT_REPORT_H
#define KXEPINFO_BENCH_SUPPORT_REPORT_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxbench {

// The middle of the samples, which outliers of a busy machine do not move; of an even number the
// mean of the two in the middle. `samples` is not empty.
double Median(std::vector<double> samples);

// The fewest samples that a row should have.
constexpr int kFewestSamples = 7;

// One row: a median, and the ratio to that of its floor. Both are in `unit`.
struct Row {
    std::string name;  // what was measured, for example "cycle, warm: system calls of the host"
    std::string unit;
    std::vector<double> samples;  // one a repetition, not empty

    // The least that the same work costs, measured in the same run; no name and no samples when
    // there is nothing to compare with.
    std::string floor = {};
    std::vector<double> floor_samples = {};

    // The largest ratio of the two medians that is good. Nothing when none was set, and for what is
    // the better the larger it is.
    std::optional<double> target = {};
};

// The floor of a figure that must stay below a number which nobody measures: "budget" and the
// number alone, to be compared with a target of 1.
Row WithinBudget(std::string name, std::string unit, std::vector<double> samples, double budget);

// What the program does first. Takes "--json FILE" out of its arguments and returns the others,
// without the program's own name. From now on each row is in that part of the table, and goes to
// the end of the file as well. Ends the program when FILE is missing or cannot be written.
std::vector<std::string> BeginReport(std::string_view part, int argc, char** argv);

// Prints the row as one line with tab characters between: part, name, median, unit, smallest and
// largest sample ("1..3"), floor, its median, the ratio of the medians, target, and "ok" or
// "missed". What there is not, is "-". In the file it is one JSON object, its line all samples:
//
//   {"part", "name", "unit", "median", "min", "max", "samples": [],
//    "floor": {"name", "median", "min", "max", "samples": []} or null,
//    "ratio": number or null, "target": number or null, "met": boolean or null}
void Report(const Row& row);

// A row of one sample on each side, from a program that keeps medians only.
void Report(std::string_view what, double value, std::string_view unit, std::string_view reference,
            double reference_value);

// Says why nothing was measured, and ends the program with 1.
[[noreturn]] void Fail(std::string_view why);

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_REPORT_H
