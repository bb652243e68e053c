// How the costs of the module grow with what the machine has: adapters, logins, manager addresses.
// Processor time, each beside the least that brings the same, or beside the same at a smaller size.
//
//   bench_growth    from the bin directory of an installation, whose files it writes; as root, for
//                   a network of its own
#include <cstdlib>
#include <filesystem>

#include "autolog.h"
#include "child.h"
#include "growth.h"
#include "report.h"

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("growth", argc, argv);
    // What is logged goes where the module's lines go, and so costs the same.
    const std::filesystem::path logs =
        std::filesystem::path(kxbench::OwnInstallation()) / "var/log";
    if (autolog_init(logs.c_str(), 5) != 0) {
        kxbench::Fail("cannot open a log");
    }
    MeasureAdapters();
    MeasureLogins();
    MeasureManagerAddresses();
    return EXIT_SUCCESS;
}
