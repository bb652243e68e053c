// A row of the table as JSON.
#ifndef KXEPINFO_BENCH_SUPPORT_REPORT_JSON_H
#define KXEPINFO_BENCH_SUPPORT_REPORT_JSON_H

#include <optional>
#include <string>

#include "report.h"

namespace kxbench {

// What the samples of a row come to.
struct Figures {
    double median = 0;
    std::optional<double> floor = {};  // its median
    std::optional<double> ratio = {};  // of the two
    std::optional<bool> met = {};      // whether the target was
};

// On one line, as Report tells, without a line end.
std::string JsonLine(const std::string& part, const Row& row, const Figures& figures);

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_REPORT_JSON_H
