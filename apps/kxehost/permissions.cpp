#include "kxehost/permissions.h"

#include <unistd.h>

#include "common/complain.h"
#include "common/permissions.h"

namespace kxehost {

void ComplainOfPermissions(const std::filesystem::path& root) {
    std::size_t complaints = 0;
    for (const kxapp::LooseFile& file :
         kxapp::FindLooseFiles(root, geteuid(), kMostComplaints + 1)) {
        if (++complaints > kMostComplaints) {
            kxapp::Complain("more files can be changed by others: see SECURITY.md");
        } else {
            kxapp::Complain("%s can be changed by %s (mode %04o, owner %u): see SECURITY.md",
                            file.path.c_str(), kxapp::NameOf(file.stranger), file.mode, file.owner);
        }
    }
}

}  // namespace kxehost
