// Lines that a child process writes into a pipe.
#ifndef KXEPINFO_BENCH_SUPPORT_LINES_H
#define KXEPINFO_BENCH_SUPPORT_LINES_H

#include <string>

namespace kxbench {

class Lines {
  public:
    // Ends the program when there can be no pipe.
    Lines();
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;
    ~Lines();

    // What a child writes to; every child that is started has it.
    int WritingEnd() const { return ends_[1]; }

    // Whether Next would return at once.
    bool HasNext();

    // The next line, without its end. Ends the program when none comes within that time.
    std::string Next(int longest_wait_ms = 30000);

  private:
    bool ReadWithin(int milliseconds);

    int ends_[2];
    std::string read_;  // and not returned yet
};

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_LINES_H
