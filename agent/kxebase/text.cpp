#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "kxe_base.h"

namespace {

std::size_t Length(const char* text) {
    return text == nullptr ? 0 : std::strlen(text);
}

// What a print that failed leaves behind.
int Failed(char* buf, std::size_t size) {
    if (buf != nullptr && size > 0) {
        buf[0] = '\0';
    }
    return -1;
}

// As vsnprintf, but that what fails leaves an empty text and gives -1.
int Print(char* buf, std::size_t size, const char* fmt, va_list arguments) {
    if (fmt == nullptr) {
        return Failed(buf, size);
    }
    const int length = std::vsnprintf(buf, buf == nullptr ? 0 : size, fmt, arguments);
    return length < 0 ? Failed(buf, size) : length;
}

}  // namespace

uint64_t kxe_time(void) {
    return static_cast<uint64_t>(std::time(nullptr));
}

long kxe_str_find(const char* text, size_t text_len, const char* pattern, size_t pattern_len,
                  size_t start) {
    if (text == nullptr || pattern == nullptr || pattern_len == 0 || start >= text_len) {
        return -1;
    }
    const void* const found = memmem(text + start, text_len - start, pattern, pattern_len);
    return found == nullptr ? -1 : static_cast<long>(static_cast<const char*>(found) - text);
}

int kxe_str_snprintf(char* buf, size_t size, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int length = Print(buf, size, fmt, arguments);
    va_end(arguments);
    return length;
}

int str_snprintf(char* buf, size_t size, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int length = Print(buf, size, fmt, arguments);
    va_end(arguments);
    return length;
}

size_t kxe_str_strlcpy(char* dst, const char* src, size_t size) {
    const std::size_t length = Length(src);
    if (dst != nullptr && size > 0) {
        const std::size_t copied = length < size ? length : size - 1;
        if (copied > 0) {
            std::memcpy(dst, src, copied);
        }
        dst[copied] = '\0';
    }
    return length;
}

size_t kxe_str_strncat(char* dst, const char* src, size_t size) {
    if (dst == nullptr) {
        size = 0;
    }
    const std::size_t used = size == 0 ? 0 : strnlen(dst, size);
    return used + kxe_str_strlcpy(size == 0 ? nullptr : dst + used, src, size - used);
}
