// What the plain agent's libraries have handed out: each handle comes back once, by the function
// that is meant for it.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_HANDLES_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_HANDLES_H

#include <string>
#include <vector>

#pragma GCC visibility push(default)
namespace plain {

// `name` tells handles of one kind apart for those who read HandlesOut.
void HandOut(const void* handle, const std::string& kind, const std::string& name = "");

// True when the handle is out and of that kind. Everything else is a breach by whoever called
// `function`, and the handle must not be touched.
bool IsOut(const void* handle, const std::string& kind, const char* function);

// The same, and the handle is in again.
bool TakeBack(const void* handle, const std::string& kind, const char* function);

// Kind and name of what is out, sorted.
std::vector<std::string> HandlesOut();

void ResetHandles();

}  // namespace plain
#pragma GCC visibility pop

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_HANDLES_H
