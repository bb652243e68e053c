// A host through very many cycles, while everything around it changes and its manager fails: it
// holds no more in the end than in the hundredth cycle.
//
// Time jumps from each cycle to the next, so the machine alone limits how fast they follow. In the
// environment, KX_SOAK_CYCLES tells how many there are, and KX_SOAK_TABLE names a file for what was
// measured (comma-separated values). scripts/soak sets both.
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>

#include "manager_life.h"
#include "quiet_machine.h"
#include "surroundings.h"
#include "trend.h"
#include "vital_signs.h"

namespace fs = std::filesystem;

namespace kxtest {
namespace {

constexpr int kFewCycles = 200;
constexpr int kSettled = 100;  // cycles until memory and connections are what they will be
constexpr int kMeasureEvery = 10;
constexpr int kTellEvery = 1000;

// By which the host's own memory may grow from the hundredth cycle to the last, however many there
// are. Some pages come and go.
constexpr double kMostGrowthKiB = 32;

// Sanitizers keep what is freed.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryTells = false;
#else
constexpr bool kMemoryTells = true;
#endif

struct Measured {
    int cycle;
    double seconds;  // since the start
    VitalSigns host;
    std::size_t log_kib;
    bool is_calm;  // the manager answers
};

std::ostream& operator<<(std::ostream& out, const Measured& line) {
    return out << line.cycle << ',' << line.seconds << ',' << line.host.resident << ','
               << line.host.proportional << ',' << line.host.own << ',' << line.host.descriptors
               << ',' << line.host.threads << ',' << line.host.children << ',' << line.log_kib
               << ',' << line.is_calm;
}

class Soak : public QuietMachineTest {
  protected:
    void SetUp() override {
        QuietMachineTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (const char* const cycles = std::getenv("KX_SOAK_CYCLES")) {
            m_cycles = std::atoi(cycles);
        }
        if (const char* const file = std::getenv("KX_SOAK_TABLE")) {
            m_table.open(file);
        }
        m_table << "cycle,seconds,resident_kib,proportional_kib,own_kib,descriptors,threads,"
                   "children,log_kib,manager_answers\n";
    }

    void Run() {
        m_manager.GoOnBefore(0);
        m_surroundings.ChangeBefore(0);
        StartCentre();
        StartHostWithoutCache();
        for (int cycle = 1; cycle <= m_cycles && !HasFailure(); ++cycle) {
            m_manager.GoOnBefore(cycle);
            m_surroundings.ChangeBefore(cycle);
            Step();
            if (cycle % kMeasureEvery == 0) {
                Measure(cycle);
            }
        }
    }

    // The C library keeps freed blocks of up to 1 KiB in a cache of each thread, which fills over
    // thousands of cycles. Without it, what is freed is free for everything, and a leak is told
    // from a cache.
    void StartHostWithoutCache() {
        Program::Options options = SteppedTime();
        options.environment["GLIBC_TUNABLES"] = "glibc.malloc.tcache_count=0";
        m_host = &StartHost({}, options);
    }

    // Returns when the cycle has begun.
    void Step() {
        StepToNextCycle();
        ASSERT_TRUE(WaitUntil([this] { return !fs::exists(installation().path("step")); }))
            << "no cycle is begun";
    }

    void Measure(int cycle) {
        // Answered behind what the worker is doing: from then on no cycle is under way.
        const std::string online = Ctl({"online"}).output;
        const bool is_calm = m_manager.IsCalm();
        EXPECT_TRUE(!is_calm || online == "online\n") << "in cycle " << cycle;
        const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - m_begin;
        const VitalSigns host =
            is_calm && cycle >= kSettled ? LookAtCalmHost() : LookAtProcess(m_host->pid());
        m_measured.push_back({cycle, passed.count(), host, LogKiB(), is_calm});
        m_table << m_measured.back() << std::endl;
        if (m_usual) {
            CheckCounts(m_measured.back());
        }
        if (cycle % kTellEvery == 0) {
            std::cout << "cycle " << cycle << " after " << static_cast<int>(passed.count())
                      << " s: " << host.own << " KiB of its own" << std::endl;
        }
    }

    // The first look, of which all later ones must be the like, waits until the connection of
    // whoever has asked is closed.
    VitalSigns LookAtCalmHost() {
        constexpr std::chrono::seconds kMoment(3);
        VitalSigns signs;
        WaitUntil(
            [&] {
                signs = LookAtProcess(m_host->pid());
                return m_usual && signs.descriptors == m_usual->descriptors;
            },
            m_usual ? kHangGuard : kMoment);
        if (!m_usual) {
            m_usual = signs;
        }
        return signs;
    }

    void CheckCounts(const Measured& measured) const {
        SCOPED_TRACE("in cycle " + std::to_string(measured.cycle));
        EXPECT_EQ(measured.host.threads, m_usual->threads);
        EXPECT_EQ(measured.host.children, 0U);
        if (measured.is_calm) {
            EXPECT_EQ(measured.host.descriptors, m_usual->descriptors);
        }
    }

    std::size_t LogKiB() const {
        std::size_t bytes = 0;
        for (const auto& file :
             fs::directory_iterator(installation().path("var/log/agent/kxepinfo"))) {
            std::error_code renamed;  // a moment ago
            const std::size_t size = file.file_size(renamed);
            bytes += renamed ? 0 : size;
        }
        return bytes / 1024;
    }

    void CheckThatMemoryDidNotGrow() const {
        ASSERT_TRUE(m_usual) << "too few cycles to compare";
        Series own;
        for (const Measured& measured : m_measured) {
            if (measured.cycle >= kSettled) {
                own.emplace_back(measured.cycle, measured.host.own);
            }
        }
        const double growth = GrowthPerPlace(own);
        std::cout << "growth of the host's own memory: " << growth * 1000 << " KiB in 1000 cycles"
                  << std::endl;
        EXPECT_TRUE(!kMemoryTells || growth * (m_cycles - kSettled) < kMostGrowthKiB);
    }

    void CheckThatChangesAreTold() {
        constexpr char kVersion[] = "8.8.8.8888";
        m_manager.GetWell();
        installation().write("config/agent_cfg.json",
                             std::string(R"({"version":{"components":")") + kVersion + "\"}}\n");
        Step();
        EXPECT_TRUE(manager().wait_for_output(kVersion));
    }

    void CheckUploads() {
        int all = 0;
        const std::map<std::string, int> uploads = m_manager.EndAndCountUploads();
        for (const auto& [fault, count] : uploads) {
            all += count;
            std::cout << count << " uploads were answered "
                      << (fault.empty() ? "well" : "with the fault " + fault) << std::endl;
        }
        EXPECT_EQ(uploads.size(), 1 + ManagerLife::kFaultKinds);
        // While it is dead, nothing arrives; what reaches it before its end may not be answered.
        EXPECT_GT(all, m_cycles * 9 / 10);
        EXPECT_LE(all, m_cycles + 2);
    }

    int m_cycles = kFewCycles;
    ManagerLife m_manager{*this};
    Surroundings m_surroundings{*this};
    Program* m_host = nullptr;
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    std::optional<VitalSigns> m_usual;
    std::vector<Measured> m_measured;
    std::ofstream m_table;
};

TEST_F(Soak, LeavesTheHostAsItWasInTheHundredthCycle) {
    Run();
    CheckThatChangesAreTold();
    EXPECT_EQ(m_host->stop(), 0);
    EXPECT_EQ(m_host->errors(), "");
    CheckUploads();
    CheckThatMemoryDidNotGrow();
}

}  // namespace
}  // namespace kxtest
