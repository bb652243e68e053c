// An INI document in memory.
#ifndef KXEBASE_INI_DOCUMENT_H
#define KXEBASE_INI_DOCUMENT_H

// SimpleIni's templates are compiled in: its library would bring conversions between character
// sets, and what those stand on, into every process of the agent.
#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

#include <set>
#include <string>
#include <string_view>

namespace kxebase {

// Sections, keys and values with their comments, in the order of the text they were read from.
// Names and values handed over are taken without the blanks around them. Not for two threads at
// once.
class IniDocument {
  public:
    IniDocument();

    // Reads a text into a document that is still empty. Zero bytes must not be in it. False without
    // memory.
    bool Read(std::string_view text);

    // The key's value, the last one when it has several, or null. Valid until the key is set or its
    // section removed.
    const char* Get(std::string_view section, std::string_view key) const;

    // Sets the key's only value; a new key goes to the end of its section, a new section to the end
    // of the document. 0; EINVAL when the names or the value would not read back; ENOMEM.
    int Set(std::string_view section, std::string_view key, std::string_view value);

    // Removes a section with its keys and their comments. When it is filled again before the text
    // is asked for, it is still in its place under its own comment.
    void Remove(std::string_view section);

    // The document as text. Not const: what was removed and not filled again goes for good.
    std::string Text();

  private:
    CSimpleIniCaseA ini_;
    bool byte_order_mark_ = false;
    std::string end_comment_;
    std::set<std::string, std::less<>> removed_;  // there in ini_ without a key, for their place
};

}  // namespace kxebase

#endif  // KXEBASE_INI_DOCUMENT_H
