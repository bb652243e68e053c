#include "kxectl/bundle.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "common/complain.h"
#include "common/descriptor.h"
#include "common/text.h"
#include "kxectl/redact.h"

namespace kxectl {

namespace {

enum class Kind { kLines, kJson, kLog };

struct KnownFile {
    const char* path;
    Kind kind;
};

constexpr KnownFile kFiles[] = {
    {"config/kxepinfocfg.ini", Kind::kLines},
    {"config/log/agent/kxepinfo/agent/log.ini", Kind::kLines},
    {"config/ipc.ini", Kind::kLines},
    {"config/server.ini", Kind::kLines},
    {"config/cfgc.ini", Kind::kLines},
    {"config/agent_cfg.json", Kind::kJson},
    {"config/net_config.ini", Kind::kLines},
    {"config/server_port.ini", Kind::kLines},
    {"config/agent_id", Kind::kLines},
    {"config/clone_flag", Kind::kLines},
    {"var/connect.ini", Kind::kLines},
    {"var/log/agent/kxepinfo/kxepinfo.4.log", Kind::kLog},
    {"var/log/agent/kxepinfo/kxepinfo.3.log", Kind::kLog},
    {"var/log/agent/kxepinfo/kxepinfo.2.log", Kind::kLog},
    {"var/log/agent/kxepinfo/kxepinfo.1.log", Kind::kLog},
    {"var/log/agent/kxepinfo/kxepinfo.log", Kind::kLog},
};

// Opens a file below the root, a component at a time, so that a link anywhere on the way is refused
// with ELOOP or ENOTDIR. errno tells why when the descriptor is none.
void OpenBelow(const std::filesystem::path& root, const std::string& relative,
               kxapp::Descriptor& file) {
    constexpr int kNoLinks = O_NOFOLLOW | O_CLOEXEC;
    file.reset(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    std::string_view rest = relative;
    while (file.number() >= 0) {
        const std::size_t slash = rest.find('/');
        const std::string name(rest.substr(0, slash));
        const bool last = slash == std::string_view::npos;
        const int flags = last ? O_RDONLY | O_NONBLOCK | O_NOCTTY : O_PATH | O_DIRECTORY;
        const int next = openat(file.number(), name.c_str(), flags | kNoLinks);
        const int failure = errno;
        file.reset(next);
        errno = failure;
        if (last) {
            return;
        }
        rest.remove_prefix(slash + 1);
    }
}

// At most `most` bytes from `offset`; an errno value when that fails, else 0.
int ReadFrom(int file, off_t offset, std::size_t most, std::string& text) {
    text.assign(most, '\0');
    std::size_t have = 0;
    while (have < most) {
        const ssize_t got =
            pread(file, text.data() + have, most - have, offset + static_cast<off_t>(have));
        if (got < 0 && errno != EINTR) {
            return errno;
        }
        if (got == 0) {
            break;
        }
        have += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    text.resize(have);
    return 0;
}

void LeaveOut(const std::string& path, const std::string& why, Collected& collected) {
    collected.left_out.push_back(path + ": " + why);
}

// A line that begins before the part that is read has lost the word that may name a secret.
void DropFirstLine(std::string& text) {
    text.erase(0, std::min(text.find('\n'), text.size() - 1) + 1);
}

bool ReadKnown(const kxapp::Descriptor& file, const KnownFile& known, std::string& text,
               Collected& collected) {
    struct stat status {};
    if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        LeaveOut(known.path, "no regular file", collected);
        return false;
    }
    const auto most = static_cast<off_t>(kMostOfAFile);
    const bool long_file = status.st_size > most;
    if (long_file && known.kind != Kind::kLog) {
        LeaveOut(known.path, "more than 1 MiB", collected);
        return false;
    }
    const off_t start = long_file ? status.st_size - most : 0;
    if (const int failure = ReadFrom(file.number(), start, kMostOfAFile, text); failure != 0) {
        LeaveOut(known.path, std::strerror(failure), collected);
        return false;
    }
    if (long_file && !text.empty()) {
        DropFirstLine(text);
        LeaveOut(known.path, "all but the last MiB", collected);
    }
    return true;
}

void Collect(const std::filesystem::path& root, const KnownFile& known, Collected& collected) {
    kxapp::Descriptor file(-1);
    OpenBelow(root, known.path, file);
    if (file.number() < 0) {
        if (const int failure = errno; failure != ENOENT) {
            LeaveOut(known.path, std::strerror(failure), collected);
        }
        return;
    }
    std::string text;
    if (!ReadKnown(file, known, text, collected)) {
        return;
    }
    auto redacted = known.kind == Kind::kJson ? RedactJson(text) : RedactLines(text);
    if (!redacted) {
        LeaveOut(known.path, "no JSON, so that secrets in it cannot be told", collected);
        return;
    }
    if (redacted->places > 0) {
        LeaveOut(known.path, std::to_string(redacted->places) + " places that may hold secrets",
                 collected);
    }
    collected.entries.push_back({known.path, std::move(redacted->text)});
}

bool WriteAll(int file, std::string_view content) {
    while (!content.empty()) {
        const ssize_t written = write(file, content.data(), content.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        content.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return fsync(file) == 0;
}

}  // namespace

Collected CollectFiles(const std::filesystem::path& root) {
    Collected collected;
    for (const KnownFile& known : kFiles) {
        Collect(root, known, collected);
    }
    return collected;
}

std::string PackBundle(Collected collected, const std::string& status, const std::string& doctor,
                       std::time_t time) {
    std::string left_out;
    for (const std::string& line : collected.left_out) {
        left_out += kxapp::Printable(line) + "\n";
    }
    std::vector<Entry> entries = std::move(collected.entries);
    entries.push_back({"status.txt", RedactLines(status).text});
    entries.push_back({"doctor.txt", RedactLines(doctor).text});
    entries.push_back({"left_out.txt", left_out});
    for (Entry& entry : entries) {
        entry.name.insert(0, "kxepinfo-support/");
    }
    return TarGz(entries, time);
}

bool WriteNewFile(const std::string& path, const std::string& content) {
    const kxapp::Descriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file.number() < 0) {
        kxapp::Complain("cannot make %s: %s", path.c_str(), std::strerror(errno));
        return false;
    }
    // Whatever the umask and the directory's default access list say.
    if (fchmod(file.number(), 0600) != 0 || !WriteAll(file.number(), content)) {
        kxapp::Complain("cannot write %s: %s", path.c_str(), std::strerror(errno));
        (void)unlink(path.c_str());  // a part of it is of no use
        return false;
    }
    return true;
}

}  // namespace kxectl
