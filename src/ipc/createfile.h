// Creating small files in the agent's configuration directory.
#ifndef KXEPINFO_IPC_CREATEFILE_H
#define KXEPINFO_IPC_CREATEFILE_H

#include <cstddef>

// An open file, closed with its owner.
class CreatedFile {
  public:
    CreatedFile() = default;  // none
    explicit CreatedFile(int descriptor) : m_descriptor(descriptor) {}
    CreatedFile(CreatedFile&& other) noexcept;
    CreatedFile& operator=(CreatedFile&& other) noexcept;
    ~CreatedFile() { Close(); }

    bool IsOpen() const { return m_descriptor >= 0; }

    // Writes all `size` bytes; false when the file took fewer.
    bool Write(const char* data, std::size_t size);

  private:
    void Close();

    int m_descriptor = -1;
};

// Creates the file, or empties the one that is there, and opens it for reading and writing,
// close-on-exec; mode 0644 less the umask. A symbolic link under that name is refused and not
// followed, since it could lead into a file that is not the agent's. Not open, with errno set, when
// that fails.
CreatedFile CreateOrTruncate(const char* path);

#endif  // KXEPINFO_IPC_CREATEFILE_H
