// The file in which an operator sets the log level.
#ifndef AUTOLOG_LEVEL_FILE_H
#define AUTOLOG_LEVEL_FILE_H

#include <sys/stat.h>

#include <string_view>

namespace autolog {

inline constexpr int kDefaultLevel = 3;
inline constexpr int kLowestLevel = 1;
inline constexpr int kHighestLevel = 4;

// The value of key "level" in section "[log]" of the INI text: 1 to 4, kDefaultLevel when it is
// missing or anything else. Names are compared as they are written, blanks around them do not
// count, of several values the last one does.
int LevelIn(std::string_view text);

// "@/../config/log/agent/kxepinfo/agent/log.ini", "@" being the directory of the running
// executable. Its state is the file's identity at the last reading, so that one that did not change
// costs a stat. Not for two threads at once.
class LevelFile {
  public:
    constexpr LevelFile() = default;

    // The level that the file sets now; kDefaultLevel when there is none, or when it is no regular
    // file of at most 64 KiB.
    int Look();

  private:
    bool IsSame(const struct stat& now) const;

    bool known_ = false;  // whether the rest tells about a file
    struct stat last_ = {};
    int level_ = kDefaultLevel;
};

}  // namespace autolog

#endif  // AUTOLOG_LEVEL_FILE_H
