// Two measurements side by side.
#ifndef KXEPINFO_BENCH_SUPPORT_TURNS_H
#define KXEPINFO_BENCH_SUPPORT_TURNS_H

#include <vector>

namespace kxbench {

struct Compared {
    std::vector<double> work;
    std::vector<double> reference;
};

// One sample of each, as the functions return it, for each of `rounds` rounds. They take turns, so
// that whatever else the machine does meets both; the first round warms up and does not count.
template <class Work, class Reference>
Compared SampleByTurns(int rounds, Work work, Reference reference) {
    (void)work();
    (void)reference();
    Compared samples;
    for (int round = 0; round < rounds; ++round) {
        samples.work.push_back(work());
        samples.reference.push_back(reference());
    }
    return samples;
}

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_TURNS_H
