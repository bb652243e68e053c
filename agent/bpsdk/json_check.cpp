#include "json_check.h"

#include "text.h"

namespace bpsdk {
namespace {

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

bool IsHexDigit(char character) {
    return IsDigit(character) || (character >= 'a' && character <= 'f') ||
           (character >= 'A' && character <= 'F');
}

// Walks over one text. Each function takes what it is named after and says whether it was there;
// after a false the position means nothing and the text is no JSON.
class Checker {
  public:
    Checker(std::string_view text, int deepest) : rest_(text), deepest_(deepest) {}

    bool Whole() {
        if (!Value(0)) {
            return false;
        }
        Blanks();
        return rest_.empty();
    }

  private:
    bool Value(int depth) {
        Blanks();
        if (rest_.empty()) {
            return false;
        }
        switch (rest_.front()) {
            case '{':
                return Object(depth + 1);
            case '[':
                return Array(depth + 1);
            case '"':
                return String();
            case 't':
                return Word("true");
            case 'f':
                return Word("false");
            case 'n':
                return Word("null");
            default:
                return Number();
        }
    }

    bool Object(int depth) {
        rest_.remove_prefix(1);
        Blanks();
        if (depth > deepest_) {
            return false;
        }
        if (Take('}')) {
            return true;
        }
        do {
            Blanks();
            if (!String()) {
                return false;
            }
            Blanks();
            if (!Take(':') || !Value(depth)) {
                return false;
            }
            Blanks();
        } while (Take(','));
        return Take('}');
    }

    bool Array(int depth) {
        rest_.remove_prefix(1);
        Blanks();
        if (depth > deepest_) {
            return false;
        }
        if (Take(']')) {
            return true;
        }
        do {
            if (!Value(depth)) {
                return false;
            }
            Blanks();
        } while (Take(','));
        return Take(']');
    }

    bool String() {
        if (!Take('"')) {
            return false;
        }
        while (!Take('"')) {
            if (Take('\\')) {
                if (!Escape()) {
                    return false;
                }
                continue;
            }
            const std::size_t length = CharacterLength(rest_);
            if (length == 0 || (length == 1 && static_cast<unsigned char>(rest_.front()) < 0x20)) {
                return false;
            }
            rest_.remove_prefix(length);
        }
        return true;
    }

    // What follows a backslash.
    bool Escape() {
        if (Take('u')) {
            for (int i = 0; i < 4; ++i) {
                if (rest_.empty() || !IsHexDigit(rest_.front())) {
                    return false;
                }
                rest_.remove_prefix(1);
            }
            return true;
        }
        constexpr std::string_view kShort = "\"\\/bfnrt";
        if (rest_.empty() || kShort.find(rest_.front()) == std::string_view::npos) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    bool Number() {
        (void)Take('-');
        if (!Take('0') && !Digits()) {  // nothing may follow a leading 0
            return false;
        }
        if (Take('.') && !Digits()) {
            return false;
        }
        if (Take('e') || Take('E')) {
            (void)(Take('+') || Take('-'));
            return Digits();
        }
        return true;
    }

    bool Digits() {
        const std::size_t before = rest_.size();
        while (!rest_.empty() && IsDigit(rest_.front())) {
            rest_.remove_prefix(1);
        }
        return rest_.size() < before;
    }

    bool Word(std::string_view word) {
        if (!rest_.starts_with(word)) {
            return false;
        }
        rest_.remove_prefix(word.size());
        return true;
    }

    bool Take(char character) {
        if (!rest_.starts_with(character)) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }

    void Blanks() {
        while (Take(' ') || Take('\t') || Take('\n') || Take('\r')) {
        }
    }

    std::string_view rest_;
    const int deepest_;
};

}  // namespace

bool IsJson(std::string_view text, int deepest) {
    return Checker(text, deepest).Whole();
}

}  // namespace bpsdk
