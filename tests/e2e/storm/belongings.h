// What belongs to the host's process as a whole, or to its threads, and that a library it loads
// must leave alone.
#ifndef KXEPINFO_TESTS_E2E_STORM_BELONGINGS_H
#define KXEPINFO_TESTS_E2E_STORM_BELONGINGS_H

#include <map>
#include <string>

namespace storm {

// By subject, as text: two looks at the same state are equal. Made by the main thread.
using Belongings = std::map<std::string, std::string>;
Belongings LookAtBelongings();

// Gives each of them a value that is not the usual one, so that one that is put back to its default
// is noticed.
void MakeBelongingsUnusual();

}  // namespace storm

#endif  // KXEPINFO_TESTS_E2E_STORM_BELONGINGS_H
