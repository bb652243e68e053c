// Lines that a child process writes into a pipe.
#ifndef KXEPINFO_BENCH_CYCLE_LINES_H
#define KXEPINFO_BENCH_CYCLE_LINES_H

#include <string>

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

    // The next line, without its end. Ends the program when none comes within 30 s.
    std::string Next();

  private:
    bool ReadWithin(int milliseconds);

    int ends_[2];
    std::string read_;  // and not returned yet
};

#endif  // KXEPINFO_BENCH_CYCLE_LINES_H
