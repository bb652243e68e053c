#include "common/jsonfile.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/fileowner.h"
#include "kxe_base.h"

namespace {

constexpr std::size_t kMostBytes = std::size_t{4} << 20;

// An errno value for what is not to be read, 0 for a document.
int WhyUnfit(std::FILE* file) {
    struct stat status = {};
    if (fstat(fileno(file), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    return static_cast<std::size_t>(status.st_size) > kMostBytes ? EFBIG : 0;
}

// What is read of a file, no more than kMostBytes though it grow meanwhile.
struct BoundedInput {
    std::FILE* file;
    std::size_t left = kMostBytes;
};

// A json_load_callback_t of a BoundedInput.
std::size_t Read(void* buffer, std::size_t size, void* input) {
    auto& bounded = *static_cast<BoundedInput*>(input);
    const std::size_t count = std::fread(buffer, 1, std::min(size, bounded.left), bounded.file);
    bounded.left -= count;
    return count;
}

}  // namespace

JsonOwner LoadJsonFile(const char* path, json_error_t& error) {
    error = {};
    const File file(kxe_file_open(path, "r"));
    if (file == nullptr) {
        const int reason = errno;
        // As the parser itself says it, who keeps the text's last byte for an error code.
        (void)kxe_str_snprintf(error.text, sizeof error.text - 1, "unable to open %s: %s", path,
                               strerrordesc_np(reason));
        return nullptr;
    }
    if (const int unfit = WhyUnfit(file.get()); unfit != 0) {
        (void)kxe_str_strlcpy(error.text, strerrordesc_np(unfit), sizeof error.text);
        return nullptr;
    }
    BoundedInput input{file.get()};
    return JsonOwner(json_load_callback(Read, &input, JSON_DECODE_ANY, &error));
}
