// Libraries of the installation that are met at run time.
#ifndef KXEPINFO_TRACE_INSTALLEDLIBRARY_H
#define KXEPINFO_TRACE_INSTALLEDLIBRARY_H

#include <dlfcn.h>

// Loads the library of that "@" path, everything in it resolved at once and its own symbols before
// those of the process. Null when it is not there or cannot be loaded, which nobody logs: it need
// not be installed. When the process has the same file loaded already, the handle is another
// reference to it. Handles are for dlclose, which the module never calls.
void* OpenInstalledLibrary(const char* at_path);

// The function of that name in a loaded library or in what it depends on; null when there is none.
template <class Function>
Function* FindFunction(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

#endif  // KXEPINFO_TRACE_INSTALLEDLIBRARY_H
