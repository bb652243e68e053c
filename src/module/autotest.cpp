#include "module/autotest.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <ctime>
#include <string>

#include "common/fileowner.h"
#include "common/log.h"
#include "common/path.h"
#include "epinfo.pb.h"
#include "msghandler/kxepproto.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

constexpr std::size_t kTimeSize = 40;
constexpr std::size_t kFiguresSize = 1024;
constexpr uint32_t kHundredths = 100;  // in one percent

// Encodes what `msg` holds and empties it for the next record.
void TryEncoding(bf_kxepinfo::epinfo& msg, const char* failure) {
    std::string discarded;
    if (!ProtoToString(msg, discarded)) {
        EP_LOG(kLogError, "%s", failure);
    }
    ClearEpinfo(msg);
}

void TryEncodings(const _stResmon& resmon, const _stAgentInfo& agent, const _stUsrLogInfo& usr) {
    bf_kxepinfo::epinfo msg;
    AddResmonToProto(resmon, msg);
    TryEncoding(msg, "resmon proto buf serialize failed\n");
    AddAgentToProto(agent, msg);
    TryEncoding(msg, "agent proto buf serialize failed\n");
    AddUsrLogToProto(usr, msg);
    TryEncoding(msg, "user logon proto buf serialize failed\n");
}

// Null for anything that cannot be written at once, such as a pipe that nobody reads.
File OpenDump() {
    char path[kPathSize] = {};
    ep_dirutils_path_transform("@/autotest_kxepinfo.proto", path, sizeof path);
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const int descriptor = open(path, kFlags, 0666);
    if (descriptor < 0) {
        return nullptr;
    }
    File dump(fdopen(descriptor, "a"));
    if (dump == nullptr) {
        (void)close(descriptor);
    }
    return dump;
}

void AppendLine(const _stResmon& resmon) {
    const File dump = OpenDump();
    if (dump == nullptr) {
        return;
    }
    const std::time_t now = std::time(nullptr);
    std::tm local_time = {};
    tzset();  // localtime_r alone need not notice that the time zone has changed
    (void)localtime_r(&now, &local_time);
    const std::string line = AutoTestLine(local_time, resmon);
    (void)std::fwrite(line.data(), 1, line.size(), dump.get());
    (void)std::fflush(dump.get());
}

}  // namespace

std::string AutoTestLine(const std::tm& local_time, const _stResmon& resmon) {
    char time_text[kTimeSize] = {};
    (void)std::strftime(time_text, sizeof time_text, "%Y%m%d %H:%M:%S", &local_time);
    char figures[kFiguresSize] = {};
    (void)std::snprintf(
        figures, sizeof figures, "\tcpu_usage:%d.%02d(%%)\tmem_total:%u(kB)\tmem_used:%u(kB)",
        static_cast<int>(resmon.cpu_usage / kHundredths),
        static_cast<int>(resmon.cpu_usage % kHundredths), resmon.mem_total, resmon.mem_used);
    return std::string("update time:  ") + time_text + figures + "\n";
}

int DoAutoTest(_stResmon& resmon, _stAgentInfo& agent, _stUsrLogInfo& usr) {
    TryEncodings(resmon, agent, usr);
    AppendLine(resmon);
    return 0;
}
