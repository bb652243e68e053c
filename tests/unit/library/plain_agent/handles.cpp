#include "handles.h"

#include <algorithm>
#include <map>
#include <mutex>

#include "watch.h"

namespace {

struct Handle {
    std::string kind;
    std::string name;
};

std::mutex mutex;
std::map<const void*, Handle> out;

}  // namespace

namespace plain {

void HandOut(const void* handle, const std::string& kind, const std::string& name) {
    const std::lock_guard lock(mutex);
    out[handle] = {kind, name};
}

bool IsOut(const void* handle, const std::string& kind, const char* function) {
    const std::lock_guard lock(mutex);
    const auto found = out.find(handle);
    if (found != out.end() && found->second.kind == kind) {
        return true;
    }
    Breach(std::string(function) + " gets what is no " + kind + ", or not any more");
    return false;
}

bool TakeBack(const void* handle, const std::string& kind, const char* function) {
    if (!IsOut(handle, kind, function)) {
        return false;
    }
    const std::lock_guard lock(mutex);
    out.erase(handle);
    return true;
}

std::vector<std::string> HandlesOut() {
    const std::lock_guard lock(mutex);
    std::vector<std::string> names;
    for (const auto& [address, handle] : out) {
        names.push_back(handle.name.empty() ? handle.kind : handle.kind + " " + handle.name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void ResetHandles() {
    const std::lock_guard lock(mutex);
    out.clear();
}

}  // namespace plain
