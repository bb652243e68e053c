// A shared library as a process that loads it sees it.
#ifndef KXEPINFO_TESTS_LOADED_LIBRARY_H
#define KXEPINFO_TESTS_LOADED_LIBRARY_H

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace kxtest {

// Loaded while this lives; its static variables begin anew with it, unless somebody else keeps the
// library in the process.
class LoadedLibrary {
  public:
    explicit LoadedLibrary(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        EXPECT_NE(nullptr, handle_) << dlerror();
    }
    ~LoadedLibrary() {
        if (handle_ != nullptr) {
            EXPECT_EQ(0, dlclose(handle_));
        }
    }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    // Null when it has no such function.
    template <class Function>
    Function* Find(const char* name) const {
        return handle_ == nullptr ? nullptr : reinterpret_cast<Function*>(dlsym(handle_, name));
    }

  private:
    void* handle_;
};

// Whether the library is in this process.
inline bool IsMapped(const char* path) {
    void* const handle = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        (void)dlclose(handle);
    }
    return handle != nullptr;
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_LOADED_LIBRARY_H
