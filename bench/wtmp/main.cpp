// Finding the last login in accounting files of three sizes: the module's reader and, in the same
// run, the C library's. The usual file has logins near its end; a file without any must be read
// whole. Processor time a call, with the file in memory.
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "accounting_file.h"
#include "c_library_wtmp.h"
#include "collectors/userlog.h"
#include "report.h"

namespace {

constexpr int kRounds = 5;
constexpr double kShortestRound = 2e4;  // microseconds

double Microseconds() {
    timespec time = {};
    (void)clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

// Of one call, in microseconds.
template <class Read>
double Measure(Read read) {
    std::vector<double> rounds;
    for (int round = 0; round < kRounds; ++round) {
        const double start = Microseconds();
        double spent = 0;
        int calls = 0;
        while (spent < kShortestRound) {
            read();
            ++calls;
            spent = Microseconds() - start;
        }
        rounds.push_back(spent / calls);
    }
    return kxbench::Median(rounds);
}

void Compare(const std::string& what, long records, bool with_logins) {
    const AccountingFile file(records, with_logins);
    const int expected = with_logins ? 0 : -1;
    const double own = Measure([&] {
        _stUsrLogInfo login;
        if (GetLogUsrInfo(login) != expected) {
            kxbench::Fail("the module's reader found something else than there is");
        }
    });
    const double reference = Measure([&] {
        _stUsrLogInfo login;
        if (kxtest::ReadWithTheCLibrary(file.path(), login) != expected) {
            kxbench::Fail("the C library's reader found something else than there is");
        }
    });
    kxbench::Report(what + ", " + std::to_string(records) + " records: processor time", own, "us",
                    "the C library's reader", reference);
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("wtmp", argc, argv);
    for (const long records : {1000L, 100000L, 1000000L}) {
        Compare("last login", records, true);
        Compare("no login", records, false);
    }
    return EXIT_SUCCESS;
}
