// Whole files: read with a limit, replaced at one stroke.
#ifndef KXEBASE_FILE_IO_H
#define KXEBASE_FILE_IO_H

#include <cstddef>
#include <string>
#include <string_view>

namespace kxebase {

// A file descriptor and its owner. -1 is none.
class Descriptor {
  public:
    explicit Descriptor(int value = -1) : value_(value) {}
    ~Descriptor() { (void)Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : value_(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        const int value = other.Release();
        (void)Close();
        value_ = value;
        return *this;
    }

    int Get() const { return value_; }
    bool IsOpen() const { return value_ >= 0; }
    // 0, or an errno value: some file systems tell only here that data was not written.
    int Close();

  private:
    int Release() noexcept;
    int value_;
};

// Reads a regular file of at most `most` bytes into `content`. 0, or an errno value with an empty
// `content`: EFBIG for a longer one, EISDIR for a directory, EINVAL for anything else that is no
// regular file. Never waits for a writer.
int ReadWholeFile(const char* path, std::size_t most, std::string& content);

// Puts a file with this content in the place of `path`: written beside it under a name of its own
// (".NAME." and 16 hexadecimal digits), flushed, and renamed. Whoever opens the path, also after a
// crash or on a full disk, finds the old content or the new one. Symbolic links are followed to the
// file itself. The new file has owner, group and permissions of the old one; where the process may
// not give it the old group, the group gets no more rights than others. Without an old file it has
// mode 0644 less the umask. 0, or an errno value with everything as it was and no file left over;
// EISDIR or EINVAL when something other than a regular file is in the place. What a process
// that was killed in the middle has left is removed by the next one that replaces the same file.
int ReplaceFile(const char* path, std::string_view content);

}  // namespace kxebase

#endif  // KXEBASE_FILE_IO_H
