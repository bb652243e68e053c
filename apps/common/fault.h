// Misbehaviour on request: the peers can be told to answer wrongly, so that the module's handling
// of it can be tried.
#ifndef KX_APPS_COMMON_FAULT_H
#define KX_APPS_COMMON_FAULT_H

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>

namespace kxapp {

struct FaultKind {
    std::string_view name;
    std::string_view meaning;  // for --help
};

// What is to go wrong, and how often.
class FaultPlan {
  public:
    explicit FaultPlan(std::span<const FaultKind> kinds) : m_kinds(kinds) {}

    // Appends "KIND" (from then on for ever) or "KIND:COUNT" (COUNT times, 1 or more). Returns an
    // empty text, or what is wrong with it; the plan is then unchanged.
    std::string add(std::string_view text);

    // The kind for the next occasion, which is thereby used up; empty when nothing is to go wrong.
    std::string_view take();

  private:
    struct Step {
        std::string_view kind;
        std::uint64_t left;
        bool for_ever;
    };
    std::span<const FaultKind> m_kinds;
    std::deque<Step> m_steps;
};

// The kinds with their meanings, one a line, for the end of --help.
std::string DescribeFaults(std::span<const FaultKind> kinds);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_FAULT_H
