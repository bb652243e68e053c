#include "bare_replacement.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdio>

#include "report.h"

namespace {

// Closed at the end of the scope.
class Descriptor {
  public:
    Descriptor(const std::string& path, int flags)
        : number_(open(path.c_str(), flags | O_CLOEXEC, 0600)) {
        if (number_ < 0) {
            kxbench::Fail("cannot open " + path);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { (void)close(number_); }

    int number() const { return number_; }

    void Write(const std::string& text) const {
        if (write(number_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            kxbench::Fail("cannot write");
        }
    }

  private:
    int number_;
};

}  // namespace

void ReplaceBarely(const std::string& directory, const std::string& name, const std::string& text) {
    const std::string path = directory + "/" + name;
    const std::string fresh = path + ".new";
    const Descriptor lock(directory + "/lock", O_RDONLY | O_CREAT);
    (void)flock(lock.number(), LOCK_EX);
    {
        char bytes[16384];
        const Descriptor old(path, O_RDONLY | O_CREAT);
        (void)!read(old.number(), bytes, sizeof bytes);
        const Descriptor file(fresh, O_WRONLY | O_CREAT | O_TRUNC);
        file.Write(text);
        (void)fsync(file.number());
    }
    if (std::rename(fresh.c_str(), path.c_str()) != 0) {
        kxbench::Fail("cannot replace " + path);
    }
    (void)fsync(Descriptor(directory, O_RDONLY | O_DIRECTORY).number());
    static const Descriptor log(directory + "/log", O_WRONLY | O_CREAT | O_APPEND);
    log.Write("a line of usual length, as it is written when the addresses have been replaced\n");
}
