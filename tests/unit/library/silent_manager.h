// A manager that takes uploads and never answers, on a thread of its own with the real bus.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_SILENT_MANAGER_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_SILENT_MANAGER_H

#include <pthread.h>

class SilentManager {
  public:
    SilentManager();  // returns once it can be reached
    ~SilentManager();
    SilentManager(const SilentManager&) = delete;
    SilentManager& operator=(const SilentManager&) = delete;

    int uploads() const;
    void WaitForUpload() const;

  private:
    pthread_t m_thread{};
};

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_SILENT_MANAGER_H
