// Files that are being written beside the one whose place they will take. Their writer holds a lock
// on them (flock), which the kernel frees when it dies: that tells one that a killed process left
// behind from one that somebody is still writing.
#ifndef KXEBASE_UNFINISHED_FILE_H
#define KXEBASE_UNFINISHED_FILE_H

#include <sys/types.h>

#include <string>

#include "file_io.h"

namespace kxebase {

// Up to the last slash and with it; empty for a plain name.
std::string DirectoryOf(const std::string& path);

// Makes an empty one for `target`, in the same directory, under a name of its own: a dot, the
// target's name (its first 200 bytes), a dot, and 16 hexadecimal digits. It is locked for as long
// as `file` is open. 0, or an errno value with `file` closed and no file made.
int CreateUnfinishedFile(const std::string& target, mode_t mode, std::string& path,
                         Descriptor& file);

// Removes those for `target` that nobody is writing. What cannot be looked at or removed stays for
// the next time.
void RemoveLeftUnfinishedFiles(const std::string& target);

}  // namespace kxebase

#endif  // KXEBASE_UNFINISHED_FILE_H
