#include "collectors/wtmp.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <span>

namespace {

// The layout of the file, which is read as it is.
static_assert(sizeof(utmp) == 384);
static_assert(offsetof(utmp, ut_type) == 0 && sizeof(utmp::ut_type) == 2);
static_assert(offsetof(utmp, ut_user) == 44 && sizeof(utmp::ut_user) == 32);
static_assert(offsetof(utmp, ut_host) == 76 && sizeof(utmp::ut_host) == 256);
static_assert(offsetof(utmp, ut_tv) == 340 && sizeof(utmp::ut_tv.tv_sec) == 4);
static_assert(USER_PROCESS == 7);

constexpr off_t kRecordSize = sizeof(utmp);
constexpr off_t kBlockRecords = 64;
constexpr off_t kLeastHole = 4096;  // bytes; shorter ones are read

// Fills the bytes from that place of the file; false when it ends before, or cannot be read.
bool ReadAll(int descriptor, std::span<std::byte> bytes, off_t from) {
    while (!bytes.empty()) {
        const ssize_t count = pread(descriptor, bytes.data(), bytes.size(), from);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        from += count;
    }
    return true;
}

// How many whole records the file holds. Pipes and devices have no size; a directory has one, but
// cannot be read.
off_t CountRecords(int descriptor) {
    struct stat status = {};
    return fstat(descriptor, &status) == 0 ? status.st_size / kRecordSize : 0;
}

// Where the hole of the file that reaches up to `end` begins; `end` when there is none, or when the
// file system does not tell. Steps that double, and halve where one is too long, find it.
off_t FindHole(int descriptor, off_t end) {
    off_t begin = end;
    off_t step = kLeastHole;
    while (begin > 0 && step >= kLeastHole) {
        const off_t from = std::max(begin - step, off_t{0});
        const off_t data = lseek(descriptor, from, SEEK_DATA);
        if (data >= begin || (data < 0 && errno == ENXIO)) {
            begin = from;
            step *= 2;
        } else {
            step /= 2;
        }
    }
    return begin;
}

// How many of the first `count` records are not, with all their bytes, in a hole at their end.
// Those that are hold zero bytes, and so no login.
off_t WithoutHole(int descriptor, off_t count) {
    return (FindHole(descriptor, count * kRecordSize) + kRecordSize - 1) / kRecordSize;
}

bool IsLogin(const utmp& record) {
    return record.ut_type == USER_PROCESS;
}

}  // namespace

std::optional<utmp> LastEntryWhenSomebodyLoggedIn(int descriptor) {
    std::array<utmp, kBlockRecords> block;
    std::optional<utmp> last;
    // Records from `end` on have been looked at.
    for (off_t end = CountRecords(descriptor); end > 0;) {
        const off_t count = std::min(end, kBlockRecords);
        const std::span records(block.data(), static_cast<std::size_t>(count));
        end -= count;
        if (!ReadAll(descriptor, std::as_writable_bytes(records), end * kRecordSize)) {
            return std::nullopt;
        }
        if (!last) {
            last = records.back();
        }
        if (std::any_of(records.begin(), records.end(), IsLogin)) {
            return last;
        }
        if (records.front().ut_type == EMPTY) {
            end = WithoutHole(descriptor, end);
        }
    }
    return std::nullopt;
}
