#include "ini_document.h"

#include <cerrno>

#include "ini_text.h"

namespace kxebase {
namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

std::string Trimmed(std::string_view text) {
    return std::string(TrimBlanks(text));
}

}  // namespace

// Several values of one key are kept apart, each with its comment; a value is one line.
IniDocument::IniDocument() : ini_(true, true, false) {
    ini_.SetSpaces(false);
}

bool IniDocument::Read(std::string_view text) {
    IniText parts = TakeApart(text);
    byte_order_mark_ = parts.byte_order_mark;
    end_comment_ = std::move(parts.end_comment);
    return ini_.LoadData(parts.entries.data(), parts.entries.size()) >= 0;
}

const char* IniDocument::Get(std::string_view section, std::string_view key) const {
    CSimpleIniCaseA::TNamesDepend values;
    const bool found = ini_.GetAllValues(Trimmed(section).c_str(), Trimmed(key).c_str(), values);
    return found ? values.back().pItem : nullptr;
}

int IniDocument::Set(std::string_view section, std::string_view key, std::string_view value) {
    // Copies, since the value may be the one that Get returned and that is about to go.
    const std::string in = Trimmed(section);
    const std::string name = Trimmed(key);
    const std::string text = Trimmed(value);
    if (!IsSectionName(in) || !IsKeyName(name) || !IsValue(text)) {
        return EINVAL;
    }
    return ini_.SetValue(in.c_str(), name.c_str(), text.c_str(), nullptr, true) >= 0 ? 0 : ENOMEM;
}

void IniDocument::Remove(std::string_view section) {
    const std::string name = Trimmed(section);
    CSimpleIniCaseA::TNamesDepend keys;
    if (!ini_.GetAllKeys(name.c_str(), keys)) {
        return;
    }
    for (const CSimpleIniCaseA::Entry& key : keys) {
        // A copy: the name goes with the first of the values.
        ini_.Delete(name.c_str(), std::string(key.pItem).c_str());
    }
    removed_.insert(name);
}

std::string IniDocument::Text() {
    for (const std::string& name : removed_) {
        if (ini_.GetSectionSize(name.c_str()) == 0) {
            ini_.Delete(name.c_str(), nullptr);
        }
    }
    removed_.clear();
    std::string text;
    // Writing into a string fails only by std::bad_alloc.
    (void)ini_.Save(text);
    if (!end_comment_.empty()) {
        text += '\n' + end_comment_;
    }
    // SimpleIni puts an empty line above a comment, also above the first.
    text.erase(0, text.find_first_not_of('\n'));
    return byte_order_mark_ ? kByteOrderMark + text : text;
}

}  // namespace kxebase
