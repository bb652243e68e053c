// libkxepinfo.so as a host loads it.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_LOADED_MODULE_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_LOADED_MODULE_H

#include <cstddef>
#include <string>

// A shared library, loaded with RTLD_NOW and RTLD_LOCAL for the object's life. The test fails when
// it cannot be loaded or unloaded.
class LoadedLibrary {
  public:
    explicit LoadedLibrary(const char* path);
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    // Null, and a failed test, when there is no such function.
    template <class Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(symbol(name));
    }
    void* symbol(const char* name) const;

  private:
    void* m_handle;
};

class LoadedModule : public LoadedLibrary {
  public:
    LoadedModule();
    int init() const { return m_init(); }
    int uninit() const { return m_uninit(); }

  private:
    int (*m_init)();
    int (*m_uninit)();
};

// True when a file of that name is mapped into this process.
bool IsMapped(const std::string& name);

// How many descriptors this process has open, the one that counts them included.
std::size_t OpenDescriptors();

// An interval between uploads, in seconds, for the module's next start.
void SetInterval(int seconds);

// The module's log so far.
std::string ModuleLog();

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_LOADED_MODULE_H
