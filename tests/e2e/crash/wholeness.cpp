#include "wholeness.h"

#include <sstream>
#include <vector>

#include "e2e.h"
#include "traffic.h"

namespace fs = std::filesystem;

namespace kxtest {
namespace {

constexpr std::string_view kComment = "; kept by others\n";
constexpr std::string_view kRecordComment = "; State of the endpoint-information module";

// The form of a line's beginning: 9 stands for a digit, A for a level's letter.
constexpr std::string_view kLineForm = "9999-99-99 99:99:99.999+99:99 A ";

bool HasForm(char character, char form) {
    switch (form) {
        case '9':
            return character >= '0' && character <= '9';
        case 'A':
            return std::string_view("CEID").find(character) != std::string_view::npos;
        case '+':
            return character == '+' || character == '-';
        default:
            return character == form;
    }
}

// As far as both go.
bool BeginsLikeALine(std::string_view line) {
    for (std::size_t i = 0; i < std::min(line.size(), kLineForm.size()); ++i) {
        if (!HasForm(line[i], kLineForm[i])) {
            return false;
        }
    }
    return true;
}

// Behind the form come "PROCESS/THREAD TAG:LINE ".
bool IsWholeLine(std::string_view line) {
    if (line.size() < kLineForm.size()) {
        return false;
    }
    std::istringstream rest(std::string(line.substr(kLineForm.size())));
    long process = 0;
    long thread = 0;
    char slash = 0;
    std::string origin;
    rest >> process >> slash >> thread >> origin;
    const std::size_t colon = origin.find(':');
    return rest && slash == '/' && colon != std::string::npos && colon + 1 < origin.size();
}

// A second one in the same line would be one that was appended to a torn one.
bool HoldsAnotherLine(std::string_view line) {
    for (std::size_t at = 1; at + kLineForm.size() <= line.size(); ++at) {
        if (BeginsLikeALine(line.substr(at))) {
            return true;
        }
    }
    return false;
}

bool IsIpv4(const std::string& text) {
    std::istringstream parts(text);
    for (int i = 0; i < 4; ++i) {
        int number = -1;
        char dot = '.';
        if ((i > 0 && !(parts >> dot)) || dot != '.' || !(parts >> number) || number < 0 ||
            number > 255) {
            return false;
        }
    }
    return parts.peek() == std::istringstream::traits_type::eof();
}

}  // namespace

std::map<std::string, IniSection> ParseIni(const std::string& text) {
    std::map<std::string, IniSection> sections;
    std::string section;
    std::size_t start = 0;
    for (std::size_t end = 0; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1) {
        const std::string line = text.substr(start, end - start);
        const std::size_t equals = line.find('=');
        if (line.empty() || line.front() == ';') {
            continue;
        }
        if (line.front() == '[' && line.back() == ']') {
            section = line.substr(1, line.size() - 2);
            sections[section];
        } else if (equals != std::string::npos && !section.empty()) {
            const std::size_t value = line.find_first_not_of(' ', equals + 1);
            sections[section][line.substr(0, line.find_last_not_of(' ', equals - 1) + 1)] =
                value == std::string::npos ? "" : line.substr(value);
        } else {
            sections["?"][line];
        }
    }
    if (start < text.size()) {
        sections["?"][text.substr(start)];
    }
    return sections;
}

std::string FaultOfMirror(const std::string& text, int& number) {
    number = -1;
    std::map<std::string, IniSection> sections = ParseIni(text);
    if (sections.contains("?")) {
        return "a line that is none: " + sections["?"].begin()->first;
    }
    if (text.find(kComment) == std::string::npos ||
        sections["proxy"] != IniSection{{"port", "8080"}}) {
        return "what others keep in it is not as it was";
    }
    IniSection mirror = sections["multi_ip"];
    std::vector<std::string> addresses;
    for (std::string key = "ip0"; mirror.contains(key);
         key = "ip" + std::to_string(addresses.size())) {
        addresses.push_back(mirror[key]);
    }
    number = NumberOfConfiguration(addresses);
    if (number < 0 || mirror["counts"] != std::to_string(addresses.size()) ||
        mirror.size() != addresses.size() + 1) {
        return "the addresses are not those of one configuration";
    }
    return "";
}

std::string FaultOfAddressRecord(const std::string& text) {
    std::map<std::string, IniSection> sections = ParseIni(text);
    if (sections.contains("?") || !sections.contains("netinfo") || sections.size() != 1 ||
        text.find(kRecordComment) == std::string::npos) {
        return "it is not the file that it was";
    }
    std::istringstream addresses(sections["netinfo"]["ipv4"]);
    for (std::string address; std::getline(addresses, address, ',');) {
        if (!IsIpv4(address)) {
            return "no address: " + address;
        }
    }
    return "";
}

std::string FaultOfLog(std::string_view text, int& torn) {
    torn = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        if (line.empty() || !BeginsLikeALine(line) || HoldsAnotherLine(line)) {
            return "no line: " + std::string(line);
        }
        torn += IsWholeLine(line) && end < text.size() ? 0 : 1;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return "";
}

std::string FaultOfJsonLines(std::string_view text) {
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos;
         text.remove_prefix(end + 1)) {
        if (ParseJson(std::string(text.substr(0, end))) == nullptr) {
            return "no JSON: " + std::string(text.substr(0, end));
        }
    }
    return "";
}

int CountUnfinished(const fs::path& directory, const std::string& name) {
    constexpr std::size_t kDigits = 16;
    const std::string beginning = "." + name + ".";
    int count = 0;
    for (const auto& entry : fs::directory_iterator(directory)) {
        const std::string found = entry.path().filename();
        count += found.starts_with(beginning) && found.size() == beginning.size() + kDigits ? 1 : 0;
    }
    return count;
}

}  // namespace kxtest
