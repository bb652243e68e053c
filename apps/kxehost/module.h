// The endpoint-information module as the host sees it: a shared library with two functions.
#ifndef KX_APPS_KXEHOST_MODULE_H
#define KX_APPS_KXEHOST_MODULE_H

#include <string>

namespace kxehost {

// `path` with a leading "@" expanded to the directory of this program. A bare file name gets "./"
// in front: it means a file here, not a library to be searched for. Empty when it is too long.
std::string ModulePath(const std::string& path);

// Loads, starts and stops the module. All on one thread. The library stays loaded until the process
// ends: tracing that the module has begun runs on.
class Module {
  public:
    Module() = default;
    ~Module() { stop(); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    // The three below are false after a complaint (common/complain.h).

    // Opens the library and finds its functions. To be called once.
    bool load(const std::string& path);
    // To be called after load, and again after stop.
    bool start();
    // Waits for the module's worker. True without effect when it is not started.
    bool stop();

  private:
    using Function = int (*)();
    bool find(const char* name, Function& function);
    void set_up_log() const;

    std::string m_path;
    void* m_library = nullptr;
    Function m_init = nullptr;
    Function m_uninit = nullptr;
    bool m_started = false;
};

}  // namespace kxehost

#endif  // KX_APPS_KXEHOST_MODULE_H
