// Many agents' uploads from one process, each agent with a name and a connection of its own.
#ifndef KXEPINFO_BENCH_MANAGER_LOAD_H
#define KXEPINFO_BENCH_MANAGER_LOAD_H

#include <chrono>
#include <memory>
#include <vector>

class Load {
  public:
    // Joins the bus as that many agents, and waits until the manager answers the first of them.
    // Ends the program when it does not, as every function here when an upload is not accepted.
    explicit Load(unsigned agents);
    Load(const Load&) = delete;
    Load& operator=(const Load&) = delete;
    ~Load();

    // For that time each agent uploads, waits for the answer and uploads again. Returns the time of
    // each answer in microseconds.
    std::vector<double> Run(std::chrono::milliseconds time);

  private:
    class Sender;
    std::vector<std::unique_ptr<Sender>> senders_;
};

#endif  // KXEPINFO_BENCH_MANAGER_LOAD_H
