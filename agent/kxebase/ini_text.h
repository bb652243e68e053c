// The lines of an INI text. Pure functions.
//
// SimpleIni, which holds the document, keeps comments that stand before something and drops what it
// does not understand. So that a save loses nothing, a text is brought into lines that it keeps.
#ifndef KXEBASE_INI_TEXT_H
#define KXEBASE_INI_TEXT_H

#include <string>
#include <string_view>

namespace kxebase {

// Without the blanks (space, tabulator, CR, LF) at either end.
std::string_view TrimBlanks(std::string_view text);

struct IniText {
    bool byte_order_mark = false;  // the text began with one
    std::string entries;           // what SimpleIni is to read; every line ends in '\n'
    std::string end_comment;       // comment lines behind the last entry, or empty
};

// Takes the text of a file apart. Lines end in LF, CR LF or CR. Changed are, beside blanks at
// either end of a line:
// - a line that is no section, no key with a value and no comment becomes a comment, and so does
// what
//   follows the bracket of a section's line;
// - the comment above a section's line that only takes the section up again goes to what follows.
IniText TakeApart(std::string_view text);

// Whether such a name or value, without blanks around it, reads back as it is when it was written.
bool IsSectionName(std::string_view name);  // the empty one holds the keys above all sections
bool IsKeyName(std::string_view name);
bool IsValue(std::string_view value);

}  // namespace kxebase

#endif  // KXEBASE_INI_TEXT_H
