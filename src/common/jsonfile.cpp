#include "common/jsonfile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "kxe_base.h"

namespace {

constexpr off_t kMostBytes = off_t{4} << 20;

struct CloseFile {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

// An errno value for what must not be opened. 0 for all else, a missing file included.
int WhyUnfit(const char* path) {
    struct stat status = {};
    if (stat(path, &status) != 0) {
        return 0;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    return status.st_size > kMostBytes ? EFBIG : 0;
}

}  // namespace

JsonOwner LoadJsonFile(const char* path, json_error_t& error) {
    error = {};
    if (const int unfit = WhyUnfit(path); unfit != 0) {
        (void)kxe_str_strlcpy(error.text, strerrordesc_np(unfit), sizeof error.text);
        return nullptr;
    }
    const std::unique_ptr<std::FILE, CloseFile> file(kxe_file_open(path, "r"));
    if (file == nullptr) {
        const int reason = errno;
        // As the parser itself says it, who keeps the text's last byte for an error code.
        (void)kxe_str_snprintf(error.text, sizeof error.text - 1, "unable to open %s: %s", path,
                               strerrordesc_np(reason));
        return nullptr;
    }
    return JsonOwner(json_loadf(file.get(), JSON_DECODE_ANY, &error));
}
