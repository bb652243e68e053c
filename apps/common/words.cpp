#include "common/words.h"

#include <array>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <ctime>

#include "common/text.h"

namespace kxapp {

std::string Format(const char* format, ...) {
    std::array<char, 128> text{};
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

std::string LocalTime(std::uint64_t time) {
    constexpr std::uint64_t kYear10000 = 253'402'300'800;
    const auto seconds = static_cast<std::time_t>(time);
    tm parts{};
    if (time >= kYear10000 || localtime_r(&seconds, &parts) == nullptr) {
        return Format("%" PRIu64, time);
    }
    std::array<char, 32> text{};
    (void)std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    return text.data();
}

std::string ShownText(std::string_view text) {
    return Shown(text, kMostShownBytes);
}

void Append(std::string& list, const std::string& item, const char* separator) {
    if (!item.empty()) {
        list += (list.empty() ? "" : separator) + item;
    }
}

void AppendNamed(std::string& list, const char* name, const std::string& value) {
    if (!value.empty()) {
        Append(list, std::string(name) + " " + ShownText(value));
    }
}

}  // namespace kxapp
