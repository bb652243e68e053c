// Looks an installation over.
#ifndef KX_APPS_KXECTL_DOCTOR_H
#define KX_APPS_KXECTL_DOCTOR_H

#include <filesystem>
#include <string>

#include "kxectl/finding.h"

namespace kxectl {

// All that is wrong with the installation of that root, the gravest kind first. Joins the bus, for
// the online state, only while the agent is there; each answer is waited for `timeout_s` seconds.
Findings Examine(const std::filesystem::path& root, int timeout_s);

// The findings for people: numbered, three lines each, printable.
std::string FindingsForPeople(const Findings& findings);

// The same as JSON: {"findings": [{"what": ..., "why": ..., "remedy": ...}, ...]}.
std::string FindingsAsJson(const Findings& findings);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_DOCTOR_H
