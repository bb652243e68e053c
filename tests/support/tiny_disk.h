// A file system of a few kilobytes, to fill.
#ifndef KXEPINFO_TESTS_SUPPORT_TINY_DISK_H
#define KXEPINFO_TESTS_SUPPORT_TINY_DISK_H

#include <sched.h>
#include <sys/mount.h>

#include <filesystem>
#include <string>

namespace kxtest {

// Mounts a tmpfs on a directory that is there, seen by this process and its children alone, and
// takes it away with the object. Needs the right to mount; without it IsMounted is false and the
// test is to be skipped.
class TinyDisk {
  public:
    // The kernel rounds the size up to whole pages. `files` limits their number, 0 does not.
    TinyDisk(std::filesystem::path directory, int kilobytes, int files = 0)
        : directory_(std::move(directory)) {
        // The directory itself counts as a file for the kernel.
        const std::string size = "size=" + std::to_string(kilobytes) +
                                 "k,nr_inodes=" + std::to_string(files == 0 ? 0 : files + 1);
        mounted_ = unshare(CLONE_NEWNS) == 0 &&
                   mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("tmpfs", directory_.c_str(), "tmpfs", 0, size.c_str()) == 0;
    }
    ~TinyDisk() {
        if (mounted_) {
            (void)umount2(directory_.c_str(), MNT_DETACH);
        }
    }
    TinyDisk(const TinyDisk&) = delete;
    TinyDisk& operator=(const TinyDisk&) = delete;

    bool IsMounted() const { return mounted_; }

  private:
    std::filesystem::path directory_;
    bool mounted_ = false;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_TINY_DISK_H
