// What is wrong with an installation.
#ifndef KX_APPS_KXECTL_FINDING_H
#define KX_APPS_KXECTL_FINDING_H

#include <string>
#include <vector>

namespace kxectl {

// Each text is a line without an end, and may hold anything that a file's name can hold.
struct Finding {
    std::string what;
    std::string why;     // why it matters
    std::string remedy;  // what to do
};
using Findings = std::vector<Finding>;

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_FINDING_H
