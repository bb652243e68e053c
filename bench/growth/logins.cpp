// Finding the last login. The usual file has logins near its end, and its size should not count; a
// file without any must be read whole, and is compared with a bare reading of it. The files are in
// memory.
#include <fcntl.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "accounting_file.h"
#include "collectors/userlog.h"
#include "common/records.h"
#include "growth.h"
#include "processor_time.h"
#include "report.h"

namespace {

constexpr long kReferenceRecords = 1000;
constexpr long kRecords[] = {kReferenceRecords, 10000, 100000, 1000000};
constexpr int kRounds = 7;
constexpr int kCalls = 500;
constexpr long kRecordsARound = 1000000;  // when files are read whole
constexpr double kTarget = 1.5;
constexpr std::size_t kBlockSize = 131072;

void FindLogin(const AccountingFile& file, bool is_there) {
    file.Present();
    _stUsrLogInfo login;
    if (GetLogUsrInfo(login) != (is_there ? 0 : -1)) {
        kxbench::Fail("the last login was not found as it should be");
    }
}

int Open(const AccountingFile& file) {
    const int descriptor = open(file.path().c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        kxbench::Fail("cannot open " + file.path());
    }
    return descriptor;
}

void ReadLastRecord(const AccountingFile& file) {
    const int descriptor = Open(file);
    utmp record;
    const off_t end = lseek(descriptor, 0, SEEK_END);
    if (pread(descriptor, &record, sizeof record, end - off_t{sizeof record}) !=
        ssize_t{sizeof record}) {
        kxbench::Fail("cannot read " + file.path());
    }
    (void)close(descriptor);
}

void ReadWhole(const AccountingFile& file) {
    static std::vector<char> block(kBlockSize);
    const int descriptor = Open(file);
    while (read(descriptor, block.data(), block.size()) > 0) {
    }
    (void)close(descriptor);
}

std::string Among(long records) {
    return "among " + std::to_string(records) + " records";
}

void Report(const std::string& name, const kxbench::Compared& time, const std::string& floor,
            std::optional<double> target) {
    kxbench::Report({.name = name,
                     .unit = "us",
                     .samples = time.work,
                     .floor = floor,
                     .floor_samples = time.reference,
                     .target = target});
}

void MeasureWithLogins(long records, const AccountingFile& small) {
    const AccountingFile file(records, true);
    const bool is_small = records == kReferenceRecords;
    const kxbench::Compared time = kxbench::CompareProcessorTime(
        [&] { FindLogin(file, true); },
        [&] { is_small ? ReadLastRecord(file) : FindLogin(small, true); }, kRounds, kCalls);
    Report("last login " + Among(records), time,
           is_small ? "the last record read barely" : Among(kReferenceRecords),
           is_small ? std::nullopt : std::optional(kTarget));
}

void MeasureWithout(long records) {
    const AccountingFile file(records, false);
    const kxbench::Compared time = kxbench::CompareProcessorTime(
        [&] { FindLogin(file, false); }, [&] { ReadWhole(file); }, kRounds,
        static_cast<int>(std::max(1L, kRecordsARound / records)));
    Report("no login " + Among(records), time, "the file read barely", std::nullopt);
}

}  // namespace

void MeasureLogins() {
    {
        const AccountingFile small(kReferenceRecords, true);
        for (const long records : kRecords) {
            MeasureWithLogins(records, small);
        }
    }
    for (const long records : kRecords) {
        MeasureWithout(records);
    }
}
