// What the module's log says of the last upload.
#ifndef KX_APPS_KXECTL_LAST_UPLOAD_H
#define KX_APPS_KXECTL_LAST_UPLOAD_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kxectl {

struct LastUpload {
    std::string time;           // as the log has it: local time
    bool accepted;              // by the manager
    std::string failure;        // the line's message; empty when it was accepted
    bool may_be_older = false;  // later ones may have been accepted, which the log does not tell
};

// Of the lines of a log the last one that tells an upload's outcome. Failures are told at the
// levels 2 to 4, an acceptance at level 4 alone.
std::optional<LastUpload> FindLastUpload(std::string_view log);

// The log of an installation.
std::filesystem::path LogFile(const std::filesystem::path& root);

// The same for the log of an installation, of which the last MiB is read. A link in its place is
// not followed.
std::optional<LastUpload> ReadLastUpload(const std::filesystem::path& root);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_LAST_UPLOAD_H
