// A host with a life of its own that starts, stops, unloads and loads the module again and again,
// and watches what belongs to itself.
//
//   storm_host MODULE ROUNDS SEED PHASE SUBJECT
//
// PHASE is where each stop comes ("all": anywhere), SUBJECT what is watched ("all": everything).
// Prints how it went, then a line for each thing that was touched. Exit status 0 when there is
// none, 1 otherwise, 2 when the module cannot be used.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "belongings.h"
#include "open_files.h"
#include "own_life.h"
#include "phases.h"
#include "resources.h"

namespace fs = std::filesystem;

namespace storm {
namespace {

constexpr int kReloadEvery = 10;
constexpr int kWarmUp = 100;  // rounds that fill caches of the C library and of the loader
constexpr std::size_t kMostComplaints = 20;

// In KiB, from the warm-up to the end. A start leaves a bus address behind, and an unloading after
// a tracing event one small object; 900 rounds were seen to need 24.
constexpr std::size_t kMostGrowth = 512;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryTells = false;  // the sanitizer keeps what is freed
#else
constexpr bool kMemoryTells = true;
#endif

struct Options {
    std::string module;
    int rounds = 0;
    unsigned seed = 0;
    std::string phase;
    std::string subject;
};

class Library {
  public:
    explicit Library(const std::string& path) : m_handle(dlopen(path.c_str(), RTLD_NOW)) {
        if (m_handle == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            std::exit(2);
        }
        SetUpLog();
    }
    ~Library() { dlclose(m_handle); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    int Call(const char* name) const {
        return reinterpret_cast<int (*)()>(dlsym(m_handle, name))();
    }

  private:
    // What the module has to say before its worker does this would appear on standard error.
    void SetUpLog() const {
        using Initialise = int (*)(const char* directory, int files);
        if (void* const initialise = dlsym(m_handle, "autolog_init")) {
            const fs::path root = fs::read_symlink("/proc/self/exe").parent_path().parent_path();
            const std::string directory = root / "var/log/agent/kxepinfo";
            (void)reinterpret_cast<Initialise>(initialise)(directory.c_str(), 5);
        }
    }

    void* m_handle;
};

class Storm {
  public:
    explicit Storm(const Options& options)
        : m_options(options),
          m_libraries(fs::path(options.module).parent_path()),
          m_random(options.seed) {}

    int Run() {
        BeginOwnLife();
        MakeBelongingsUnusual();
        m_library.emplace(m_options.module);
        m_before = LookAtBelongings();
        const int warm_up = std::min(kWarmUp, m_options.rounds / 2);
        for (m_round = 1; m_round <= m_options.rounds; ++m_round) {
            OneRound();
            if (m_round == warm_up) {
                Count();
            }
        }
        CompareCounts();
        m_library.reset();
        return Report();
    }

  private:
    bool Watches(const std::string& subject) const {
        return m_options.subject == "all" || m_options.subject == subject;
    }

    void Complain(const std::string& subject, const std::string& what) {
        if (Watches(subject) && m_complaints.size() < kMostComplaints) {
            m_complaints.push_back("round " + std::to_string(m_round) + ", " + m_where + ": " +
                                   subject + ": " + what);
        }
    }

    Phase Choose() {
        const auto named =
            std::find(kPhaseNames.begin(), kPhaseNames.end(), std::string_view(m_options.phase));
        std::size_t index = static_cast<std::size_t>(named - kPhaseNames.begin());
        if (named == kPhaseNames.end()) {
            index = std::uniform_int_distribution<std::size_t>(0, kPhaseNames.size() - 1)(m_random);
        }
        m_where = kPhaseNames[index];
        ++m_stops[m_where];
        return static_cast<Phase>(index);
    }

    void OneRound() {
        const Phase phase = Choose();
        AwaitPhase(phase, std::bernoulli_distribution()(m_random));
        if (m_library->Call("kxepinfo_init") != 0) {
            Complain("start", "failed");
            return;
        }
        if (!WaitForPhase()) {
            Complain("phase", "not reached");
        }
        Compare();
        (void)m_library->Call("kxepinfo_uninit");
        Compare();
        if (m_round % kReloadEvery == 0) {
            Reload();
        }
        if (m_lives && Watches("life")) {
            const std::string missing = WhatDoesNotLive();
            m_lives = missing.empty();
            if (!m_lives) {
                Complain("life", "no" + missing);
            }
        }
    }

    void Compare() {
        const Belongings now = LookAtBelongings();
        for (const auto& [subject, value] : m_before) {
            if (now.at(subject) != value) {
                Complain(subject, "was " + value + ", is " + now.at(subject));
            }
        }
    }

    void Reload() {
        m_library.reset();
        m_staying = MappedFrom(m_libraries);
        if (m_staying.contains(fs::path(m_options.module).filename())) {
            Complain("unloading", "the module stays");
        }
        Compare();
        m_library.emplace(m_options.module);
    }

    void Count() {
        m_descriptors = kxtest::OpenDescriptors();
        m_threads = CountThreads();
        m_resident = ResidentKiB();
    }

    // Only when it matters, since one too many is waited for.
    std::size_t CountThreads() const { return Watches("threads") ? Threads(m_threads) : m_threads; }

    void CompareCounts() {
        const std::size_t descriptors = kxtest::OpenDescriptors();
        const std::size_t threads = CountThreads();
        const std::size_t resident = ResidentKiB();
        const auto were = [](std::size_t before, std::size_t after) {
            return "were " + std::to_string(before) + ", are " + std::to_string(after);
        };
        if (descriptors != m_descriptors) {
            Complain("descriptors", were(m_descriptors, descriptors));
        }
        if (threads != m_threads) {
            Complain("threads", were(m_threads, threads));
        }
        if (kMemoryTells && resident > m_resident + kMostGrowth) {
            Complain("memory", were(m_resident, resident));
        }
        m_counts = "descriptors " + were(m_descriptors, descriptors) + "; threads " +
                   were(m_threads, threads) + "; resident KiB " + were(m_resident, resident);
    }

    int Report() const {
        std::printf("stops:");
        for (const auto& [where, count] : m_stops) {
            std::printf(" %s %d", where.c_str(), count);
        }
        std::printf("\nstaying after the last unloading:");
        for (const std::string& name : m_staying) {
            std::printf(" %s", name.c_str());
        }
        std::printf("\n%s\n", m_counts.c_str());
        for (const std::string& complaint : m_complaints) {
            std::printf("%s\n", complaint.c_str());
        }
        return m_complaints.empty() ? 0 : 1;
    }

    const Options m_options;
    const std::string m_libraries;  // the directory that the module is in
    std::mt19937 m_random;
    std::optional<Library> m_library;
    Belongings m_before;
    int m_round = 0;
    bool m_lives = true;
    std::string m_where;
    std::map<std::string, int> m_stops;
    std::set<std::string> m_staying;
    std::size_t m_descriptors = 0;
    std::size_t m_threads = 4;  // main, two that work, the loop
    std::size_t m_resident = 0;
    std::string m_counts;
    std::vector<std::string> m_complaints;
};

}  // namespace
}  // namespace storm

int main(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: storm_host MODULE ROUNDS SEED PHASE SUBJECT\n");
        return 2;
    }
    const storm::Options options = {argv[1], std::atoi(argv[2]),
                                    static_cast<unsigned>(std::atoi(argv[3])), argv[4], argv[5]};
    const int status = storm::Storm(options).Run();
    std::fflush(stdout);
    // The host's threads never end, and what stays of the module by design is no leak to be told.
    _exit(status);
}
