#include "common/fault.h"

#include <algorithm>

#include "common/number.h"

namespace kxapp {

std::string FaultPlan::add(std::string_view text) {
    const std::size_t colon = text.find(':');
    const std::string_view name = text.substr(0, colon);
    const auto kind = std::find_if(m_kinds.begin(), m_kinds.end(),
                                   [name](const FaultKind& each) { return each.name == name; });
    if (kind == m_kinds.end()) {
        return "no such fault: '" + std::string(name) + "'";
    }
    Step step{kind->name, 0, true};
    if (colon != std::string_view::npos) {
        const auto count = ReadNumber(text.substr(colon + 1));
        if (!count || *count == 0) {
            return "not a number of times: '" + std::string(text.substr(colon + 1)) + "'";
        }
        step.left = *count;
        step.for_ever = false;
    }
    m_steps.push_back(step);
    return {};
}

std::string_view FaultPlan::take() {
    if (m_steps.empty()) {
        return {};
    }
    Step& step = m_steps.front();
    const std::string_view kind = step.kind;
    if (!step.for_ever && --step.left == 0) {
        m_steps.pop_front();
    }
    return kind;
}

std::string DescribeFaults(std::span<const FaultKind> kinds) {
    std::size_t width = 0;
    for (const FaultKind& kind : kinds) {
        width = std::max(width, kind.name.size());
    }
    std::string text;
    for (const FaultKind& kind : kinds) {
        text += "  ";
        text += kind.name;
        text.append(width + 2 - kind.name.size(), ' ');
        text += kind.meaning;
        text += '\n';
    }
    return text;
}

}  // namespace kxapp
