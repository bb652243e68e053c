#include "kxectl/redact.h"

#include <jansson.h>

#include <algorithm>
#include <new>

#include "common/json.h"

namespace kxectl {

namespace {

constexpr std::string_view kSecretWords[] = {"passw",   "passphrase", "pwd",     "secret",  "token",
                                             "credent", "apikey",     "api_key", "private", "auth"};

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The end of the first word in the line that names a secret; npos when there is none.
std::size_t EndOfSecretWord(std::string_view line) {
    std::string lower(line);
    std::transform(lower.begin(), lower.end(), lower.begin(), Lower);
    std::size_t first = std::string::npos;
    std::size_t length = 0;
    for (const std::string_view word : kSecretWords) {
        if (const std::size_t at = lower.find(word); at < first) {
            first = at;
            length = word.size();
        }
    }
    return first == std::string::npos ? first : first + length;
}

// Takes the user parts of addresses out of a line.
std::string WithoutUsers(std::string_view line, std::size_t& places) {
    std::string text;
    for (;;) {
        const std::size_t scheme = line.find("://");
        if (scheme == std::string_view::npos) {
            return text.append(line);
        }
        text.append(line.substr(0, scheme + 3));
        line.remove_prefix(scheme + 3);
        // A password may hold any sign but a blank, so the last @ counts.
        const std::size_t at = line.substr(0, line.find_first_of(" \t\"'")).rfind('@');
        if (at != std::string_view::npos) {
            text.append(kLeftOut);
            line.remove_prefix(at);
            ++places;
        }
    }
}

std::string RedactLine(std::string_view line, std::size_t& places) {
    const std::size_t end = EndOfSecretWord(line);
    if (end == std::string_view::npos) {
        return WithoutUsers(line, places);
    }
    ++places;
    return WithoutUsers(line.substr(0, end), places) + " " + kLeftOut;
}

void RedactValue(json_t* value, std::size_t& places);

void RedactObject(json_t* object, std::size_t& places) {
    const char* name = nullptr;
    json_t* member = nullptr;
    json_object_foreach(object, name, member) {
        if (EndOfSecretWord(name) == std::string::npos) {
            RedactValue(member, places);
        } else if (json_object_set_new(object, name, json_string(kLeftOut)) == 0) {
            ++places;
        } else {
            throw std::bad_alloc();
        }
    }
}

void RedactValue(json_t* value, std::size_t& places) {
    if (json_is_object(value)) {
        RedactObject(value, places);
    } else if (json_is_array(value)) {
        for (std::size_t i = 0; i < json_array_size(value); ++i) {
            RedactValue(json_array_get(value, i), places);
        }
    } else if (json_is_string(value)) {
        const std::string text = WithoutUsers(json_string_value(value), places);
        if (json_string_set(value, text.c_str()) != 0) {
            throw std::bad_alloc();
        }
    }
}

}  // namespace

Redacted RedactLines(std::string_view text) {
    Redacted redacted;
    while (!text.empty()) {
        // A carriage return ends a line in INI files as well.
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        redacted.text += RedactLine(text.substr(0, end), redacted.places);
        redacted.text += text.substr(end, 1);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return redacted;
}

std::optional<Redacted> RedactJson(std::string_view text) {
    json_error_t error;
    const kxapp::Json json(json_loadb(text.data(), text.size(), JSON_REJECT_DUPLICATES, &error));
    if (json == nullptr) {
        return std::nullopt;
    }
    Redacted redacted;
    RedactValue(json.get(), redacted.places);
    redacted.text = kxapp::ToText(json.get(), 2);
    return redacted;
}

}  // namespace kxectl
