// Another base library: time, text, files, paths.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>

#include "kxe_base.h"
#include "watch.h"

using plain::Breach;
using plain::Call;

namespace {

// Cut to fit and closed; what is behind the text in the buffer is overwritten, too.
void PutText(std::string_view text, char* out, std::size_t size) {
    if (out == nullptr || size == 0) {
        Breach("a text without room");
        return;
    }
    const std::size_t length = std::min(text.size(), size - 1);
    std::memmove(out, text.data(), length);
    std::fill(out + length + 1, out + size, 'x');
    out[length] = '\0';
}

int PrintOrFail(Call& call, char* buf, std::size_t size, const char* fmt, va_list arguments) {
    if (call.MustFail()) {
        PutText("", buf, size);
        return -1;
    }
    std::string text(size, '\0');  // the buffer may be an argument, too
    const int length = std::vsnprintf(text.data(), text.size(), fmt, arguments);
    PutText(text.c_str(), buf, size);
    return length;
}

std::string Expanded(const char* path) {
    if (path[0] != '@') {
        return path;
    }
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + (path + 1);
}

}  // namespace

uint64_t kxe_time() {
    const Call call("kxe_time");
    return static_cast<uint64_t>(std::time(nullptr));
}

long kxe_str_find(const char* text, size_t text_len, const char* pattern, size_t pattern_len,
                  size_t start) {
    Call call("kxe_str_find");
    const auto found = std::string_view(text, text_len).find({pattern, pattern_len}, start);
    const bool absent = found == std::string_view::npos || call.MustFail();
    return absent ? -5 : static_cast<long>(found);  // any negative number
}

int kxe_str_snprintf(char* buf, size_t size, const char* fmt, ...) {
    Call call("kxe_str_snprintf");
    va_list arguments;
    va_start(arguments, fmt);
    const int length = PrintOrFail(call, buf, size, fmt, arguments);
    va_end(arguments);
    return length;
}

int str_snprintf(char* buf, size_t size, const char* fmt, ...) {
    Call call("str_snprintf");
    va_list arguments;
    va_start(arguments, fmt);
    const int length = PrintOrFail(call, buf, size, fmt, arguments);
    va_end(arguments);
    return length;
}

size_t kxe_str_strlcpy(char* dst, const char* src, size_t size) {
    const Call call("kxe_str_strlcpy");
    const std::string_view text(src);
    PutText(text, dst, size);
    return text.size();
}

size_t kxe_str_strncat(char* dst, const char* src, size_t size) {
    const Call call("kxe_str_strncat");
    const std::string text = std::string(dst, strnlen(dst, size)) + src;
    PutText(text, dst, size);
    return text.size();
}

FILE* kxe_file_open(const char* path, const char* mode) {
    Call call("kxe_file_open");
    if (call.MustFail(EMFILE)) {
        return nullptr;
    }
    if (*mode != 'r') {
        Breach("a file opened for anything but reading");
    }
    // Without waiting for whoever writes into a pipe.
    const int descriptor = open(Expanded(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        call.Failed(errno);
        return nullptr;
    }
    return fdopen(descriptor, mode);
}

void kxe_dirutils_path_transform(const char* in, char* out, size_t size) {
    Call call("kxe_dirutils_path_transform");
    PutText(call.MustFail() ? "" : Expanded(in), out, size);
}

void dirutils_path_transform(const char* in, char* out, size_t size) {
    Call call("dirutils_path_transform");
    PutText(call.MustFail() ? "" : Expanded(in), out, size);
}

int IsCNAPPAgent() {
    const Call call("IsCNAPPAgent");
    return std::filesystem::exists(Expanded("@/../config/cnapp")) ? -3 : 0;  // yes: not 0
}

int read_container_id(pid_t /*pid*/, char* buf, size_t size) {
    Call call("read_container_id");
    constexpr std::size_t kDigits = 64;
    if (size < kDigits + 1) {
        Breach("no room for a container's id");
    }
    const bool fails = call.MustFail();
    PutText(fails ? "" : std::string(kDigits, 'a'), buf, size);
    return fails ? -1 : 0;
}
