#include "report_json.h"

#include <jansson.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace kxbench {
namespace {

constexpr int kDigits = 9;

json_t* Number(std::optional<double> value) {
    return value ? json_real(*value) : json_null();
}

void AddSamples(json_t* object, double median, const std::vector<double>& samples) {
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
    json_t* const all = json_array();
    for (const double sample : samples) {
        (void)json_array_append_new(all, json_real(sample));
    }
    (void)json_object_set_new(object, "median", json_real(median));
    (void)json_object_set_new(object, "min", json_real(*least));
    (void)json_object_set_new(object, "max", json_real(*most));
    (void)json_object_set_new(object, "samples", all);
}

json_t* Floor(const Row& row, const Figures& figures) {
    if (!figures.floor) {
        return json_null();
    }
    json_t* const floor = json_object();
    (void)json_object_set_new(floor, "name", json_string(row.floor.c_str()));
    AddSamples(floor, *figures.floor, row.floor_samples);
    return floor;
}

}  // namespace

std::string JsonLine(const std::string& part, const Row& row, const Figures& figures) {
    const std::unique_ptr<json_t, decltype(&json_decref)> object(json_object(), json_decref);
    json_t* const line = object.get();
    (void)json_object_set_new(line, "part", json_string(part.c_str()));
    (void)json_object_set_new(line, "name", json_string(row.name.c_str()));
    (void)json_object_set_new(line, "unit", json_string(row.unit.c_str()));
    AddSamples(line, figures.median, row.samples);
    (void)json_object_set_new(line, "floor", Floor(row, figures));
    (void)json_object_set_new(line, "ratio", Number(figures.ratio));
    (void)json_object_set_new(line, "target", Number(row.target));
    (void)json_object_set_new(line, "met", figures.met ? json_boolean(*figures.met) : json_null());
    const std::unique_ptr<char, decltype(&std::free)> text(
        json_dumps(line, JSON_COMPACT | JSON_REAL_PRECISION(kDigits)), std::free);
    if (text == nullptr) {
        Fail("a row cannot be told as JSON");
    }
    return text.get();
}

}  // namespace kxbench
