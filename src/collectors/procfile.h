// Opens files of the machine. Apart from the parsers, so that a test can put its own function in
// front of them at link time.
#ifndef KXEPINFO_COLLECTORS_PROCFILE_H
#define KXEPINFO_COLLECTORS_PROCFILE_H

#include "common/fileowner.h"

// Opens for reading, close-on-exec. Null with errno set when that fails. What lies in a file's
// place is opened too and never waited for: a directory, which cannot be read, or a pipe, which
// reads as empty while nobody writes to it.
File OpenForReading(const char* path);

#endif  // KXEPINFO_COLLECTORS_PROCFILE_H
