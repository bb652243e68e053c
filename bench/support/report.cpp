#include "report.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "report_json.h"

namespace kxbench {
namespace {

std::string part_of_table;
std::string json_file;

// "-" for what there is not.
std::string Text(std::optional<double> value) {
    char text[32] = "-";
    if (value) {
        (void)std::snprintf(text, sizeof text, "%.4g", *value);
    }
    return text;
}

std::string Text(const std::vector<double>& samples) {
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
    return Text(*least) + ".." + Text(*most);
}

std::string Verdict(const Figures& figures) {
    if (!figures.met) {
        return "-";
    }
    return *figures.met ? "ok" : "missed";
}

Figures FiguresOf(const Row& row) {
    Figures figures{.median = Median(row.samples)};
    if (!row.floor_samples.empty()) {
        figures.floor = Median(row.floor_samples);
        if (*figures.floor > 0) {
            figures.ratio = figures.median / *figures.floor;
        }
    }
    if (row.target && figures.floor) {
        // Also where the floor is nothing at all, and a ratio would say nothing.
        figures.met = figures.median <= *row.target * *figures.floor;
    }
    return figures;
}

void PrintLine(const Row& row, const Figures& figures) {
    const std::string cells[] = {part_of_table,        row.name,
                                 Text(figures.median), row.unit,
                                 Text(row.samples),    row.floor.empty() ? "-" : row.floor,
                                 Text(figures.floor),  Text(figures.ratio),
                                 Text(row.target),     Verdict(figures)};
    std::string line;
    for (const std::string& cell : cells) {
        line += (line.empty() ? "" : "\t") + cell;
    }
    (void)std::puts(line.c_str());
    (void)std::fflush(stdout);
}

}  // namespace

double Median(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    const std::size_t middle = samples.size() / 2;
    return samples.size() % 2 == 1 ? samples[middle] : (samples[middle - 1] + samples[middle]) / 2;
}

Row WithinBudget(std::string name, std::string unit, std::vector<double> samples, double budget) {
    return {.name = std::move(name),
            .unit = std::move(unit),
            .samples = std::move(samples),
            .floor = "budget",
            .floor_samples = {budget},
            .target = 1};
}

std::vector<std::string> BeginReport(std::string_view part, int argc, char** argv) {
    part_of_table = part;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto found = std::find(arguments.begin(), arguments.end(), "--json");
    if (found == arguments.end()) {
        return arguments;
    }
    if (found + 1 == arguments.end()) {
        Fail("--json needs a file");
    }
    json_file = *(found + 1);
    arguments.erase(found, found + 2);
    if (!std::ofstream(json_file, std::ios::app)) {
        Fail("cannot write " + json_file);
    }
    return arguments;
}

void Report(const Row& row) {
    const Figures figures = FiguresOf(row);
    PrintLine(row, figures);
    if (json_file.empty()) {
        return;
    }
    std::ofstream file(json_file, std::ios::app);
    if (!(file << JsonLine(part_of_table, row, figures) << '\n').flush()) {
        Fail("cannot write " + json_file);
    }
}

void Report(std::string_view what, double value, std::string_view unit, std::string_view reference,
            double reference_value) {
    Report({.name = std::string(what),
            .unit = std::string(unit),
            .samples = {value},
            .floor = std::string(reference),
            .floor_samples = {reference_value}});
}

void Fail(std::string_view why) {
    (void)std::fprintf(stderr, "%.*s\n", static_cast<int>(why.size()), why.data());
    std::exit(EXIT_FAILURE);
}

}  // namespace kxbench
