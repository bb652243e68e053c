// A child process for as long as an object lives.
#ifndef KXEPINFO_BENCH_SUPPORT_CHILD_H
#define KXEPINFO_BENCH_SUPPORT_CHILD_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace kxbench {

class Child {
  public:
    // Starts `program` with `arguments` and, besides this process's environment, the `environment`
    // ("NAME=value"). Its standard output is that descriptor, by default this program's own. The
    // child dies with the thread that made it. Ends this program when there can be no child.
    Child(const std::string& program, const std::vector<std::string>& arguments,
          const std::vector<std::string>& environment = {}, int standard_output = 1);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Ends the child with SIGTERM and waits for it.
    ~Child();

    pid_t pid() const { return pid_; }

  private:
    pid_t pid_;
};

// The file of the running program.
std::string OwnProgram();

// The installation that the running program is in: its file is in the bin directory.
std::string OwnInstallation();

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_CHILD_H
