// Reads JSON files of the installation.
#ifndef KXEPINFO_COMMON_JSONFILE_H
#define KXEPINFO_COMMON_JSONFILE_H

#include "common/jsonowner.h"

// The document in a file, which may be any JSON value. Null when the file cannot be read, is larger
// than 4 MiB (like the agent's INI files), is no regular file, so that nobody waits for the writer
// of a pipe, or holds something else than one document; error.text then says why. The descriptor
// is not inherited by child processes.
JsonOwner LoadJsonFile(const char* path, json_error_t& error);

#endif  // KXEPINFO_COMMON_JSONFILE_H
