// Reads any text as an INI document, saves it, reads that and saves it again. Input: the text and,
// each behind a zero byte, a section, a key and a value that are set.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>

#include "ini_document.h"
#include "ini_text.h"

namespace {

using kxebase::IniDocument;
using kxebase::TrimBlanks;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The part before the next `separator`, which is cut off `rest` with it.
std::string_view Take(std::string_view& rest, std::string_view separators) {
    const std::size_t end = rest.find_first_of(separators);
    const std::string_view part = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return part;
}

// How often each comment line occurs.
std::map<std::string, int> Comments(std::string_view text) {
    std::map<std::string, int> comments;
    while (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    while (!text.empty()) {
        const std::string_view line = TrimBlanks(Take(text, "\r\n"));
        if (line.starts_with(';') || line.starts_with('#')) {
            ++comments[std::string(line)];
        }
    }
    return comments;
}

bool IsAmong(const std::map<std::string, int>& some, const std::map<std::string, int>& all) {
    for (const auto& [line, count] : some) {
        const auto found = all.find(line);
        if (found == all.end() || found->second < count) {
            return false;
        }
    }
    return true;
}

std::string WithoutEmptyLines(std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        const std::string_view line = Take(text, "\n");
        if (!line.empty()) {
            lines.append(line) += '\n';
        }
    }
    return lines;
}

std::string Saved(std::string_view text) {
    IniDocument document;
    Require(document.Read(text));
    return document.Text();
}

void CheckSurvivesSaves(std::string_view text) {
    const std::string first = Saved(text);
    Require(IsAmong(Comments(text), Comments(first)));
    // A comment above all else may get another number of empty lines around it once more.
    const std::string second = Saved(first);
    Require(WithoutEmptyLines(second) == WithoutEmptyLines(first));
    Require(Saved(second) == second);
}

// Whether the document says of this key what it is expected to say.
bool Says(const IniDocument& document, std::string_view section, std::string_view key,
          std::string_view value) {
    const char* const found = document.Get(section, key);
    return found != nullptr && found == TrimBlanks(value);
}

void CheckReadsBack(std::string_view text, std::string_view section, std::string_view key,
                    std::string_view value) {
    IniDocument document;
    Require(document.Read(text));
    if (document.Set(section, key, value) != 0) {
        return;
    }
    Require(Says(document, section, key, value));
    IniDocument again;
    Require(again.Read(document.Text()));
    Require(Says(again, section, key, value));
    again.Remove(section);
    Require(again.Get(section, key) == nullptr);
    IniDocument without;
    Require(without.Read(again.Text()));
    Require(without.Get(section, key) == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::string_view kZero("\0", 1);
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    const std::string_view text = Take(rest, kZero);
    const std::string_view section = Take(rest, kZero);
    const std::string_view key = Take(rest, kZero);
    CheckSurvivesSaves(text);
    CheckReadsBack(text, section, key, Take(rest, kZero));
    return 0;
}
