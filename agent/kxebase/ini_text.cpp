#include "ini_text.h"

#include <set>

namespace kxebase {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kLineEnds = "\r\n";

// Cuts the first line off `rest` and returns it without its end.
std::string_view TakeLine(std::string_view& rest) {
    const std::size_t end = rest.find_first_of(kLineEnds);
    const std::string_view line = rest.substr(0, end);
    if (end == std::string_view::npos) {
        rest = {};
    } else {
        rest.remove_prefix(end + (rest.substr(end).starts_with("\r\n") ? 2 : 1));
    }
    return line;
}

bool IsComment(std::string_view line) {
    return line.starts_with(';') || line.starts_with('#');
}

bool IsEntry(std::string_view line) {
    const std::size_t equals = line.find('=');
    return equals != std::string_view::npos && IsKeyName(TrimBlanks(line.substr(0, equals)));
}

class Reader {
  public:
    void Read(std::string_view line) {
        if (line.empty()) {
            pending_ += '\n';
        } else if (line.starts_with('[')) {
            Section(line);
        } else if (IsEntry(line)) {
            Entry(line);
        } else {
            Comment(line);
        }
    }

    std::string Entries() && { return std::move(entries_); }
    std::string EndComment() const {
        const std::string_view text = TrimBlanks(pending_);
        return text.empty() ? std::string() : std::string(text) + '\n';
    }

  private:
    void Comment(std::string_view line) {
        if (!IsComment(line)) {
            pending_ += "; ";
        }
        pending_ += line;
        pending_ += '\n';
    }

    void Section(std::string_view line) {
        const std::size_t bracket = line.find(']');
        if (bracket == std::string_view::npos) {
            Comment(line);
            return;
        }
        if (const std::string_view rest = TrimBlanks(line.substr(bracket + 1)); !rest.empty()) {
            Comment(rest);
        }
        const std::string_view name = TrimBlanks(line.substr(1, bracket - 1));
        if (sections_.emplace(name).second) {
            Flush();
        }
        entries_ += '[';
        entries_ += name;
        entries_ += "]\n";
    }

    void Entry(std::string_view line) {
        Flush();
        entries_ += line;
        entries_ += '\n';
    }

    void Flush() {
        entries_ += pending_;
        pending_.clear();
    }

    std::string entries_;
    std::string pending_;  // comments and empty lines that nothing followed yet
    std::set<std::string, std::less<>> sections_{""};  // keys may stand above all sections
};

}  // namespace

std::string_view TrimBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

IniText TakeApart(std::string_view text) {
    IniText result;
    // SimpleIni drops a second one, so all of them count as one.
    while (text.starts_with(kByteOrderMark)) {
        result.byte_order_mark = true;
        text.remove_prefix(kByteOrderMark.size());
    }
    Reader reader;
    while (!text.empty()) {
        reader.Read(TrimBlanks(TakeLine(text)));
    }
    result.end_comment = reader.EndComment();
    result.entries = std::move(reader).Entries();
    return result;
}

bool IsSectionName(std::string_view name) {
    return name.find_first_of("]\r\n") == std::string_view::npos;
}

bool IsKeyName(std::string_view name) {
    return !name.empty() && !IsComment(name) && !name.starts_with('[') &&
           !name.starts_with(kByteOrderMark) &&
           name.find_first_of("=\r\n") == std::string_view::npos;
}

bool IsValue(std::string_view value) {
    return value.find_first_of(kLineEnds) == std::string_view::npos;
}

}  // namespace kxebase
