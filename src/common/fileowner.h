// Owns an open stream.
#ifndef KXEPINFO_COMMON_FILEOWNER_H
#define KXEPINFO_COMMON_FILEOWNER_H

#include <cstdio>
#include <memory>

struct CloseFile {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

#endif  // KXEPINFO_COMMON_FILEOWNER_H
