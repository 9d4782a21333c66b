// SPDX-License-Identifier: MIT
#include "host/log/trace_groups.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/base/printable.h"

namespace host {
namespace {

constexpr std::size_t longest_shown = 60;

} // namespace

std::optional<std::uint32_t> trace_mask(std::string_view letters)
{
    std::uint32_t mask = 0;
    for (const char letter : letters) {
        if (letter < 'A' || letter > 'Z')
            return std::nullopt;
        mask |= 1U << static_cast<unsigned int>(letter - 'A');
    }
    return letters.empty() ? std::nullopt : std::optional(mask);
}

qv_trace_group_t* TraceGroups::add(const char* name, const char* letters, std::uint32_t mask)
{
    if (qv_trace_group_t* const known = find(name); known != nullptr)
        return known;
    groups_.push_back({name, letters, 0, mask});
    if (const auto wanted = awaited_.find(name); wanted != awaited_.end()) {
        groups_.back().mask = wanted->second;
        groups_.back().enabled = 1;
        awaited_.erase(wanted);
    }
    return &groups_.back();
}

qv_trace_group_t* TraceGroups::find(std::string_view name)
{
    const auto found = std::find_if(groups_.begin(), groups_.end(),
                                    [name](const auto& group) { return group.name == name; });
    return found == groups_.end() ? nullptr : &*found;
}

void TraceGroups::switch_on(std::string_view name, std::uint32_t mask)
{
    if (qv_trace_group_t* const group = find(name); group != nullptr) {
        group->mask = mask;
        group->enabled = 1;
    } else {
        awaited_.insert_or_assign(std::string(name), mask);
    }
}

void TraceGroups::switch_off(std::string_view name)
{
    if (qv_trace_group_t* const group = find(name); group != nullptr)
        group->enabled = 0;
    if (const auto wanted = awaited_.find(name); wanted != awaited_.end())
        awaited_.erase(wanted);
}

bool TraceGroups::enable(std::string_view wanted, std::string& error)
{
    std::vector<std::pair<std::string_view, std::uint32_t>> all;
    while (!wanted.empty()) {
        const std::string_view item = wanted.substr(0, wanted.find(','));
        wanted.remove_prefix(std::min(wanted.size(), item.size() + 1));
        const std::size_t colon = std::min(item.find(':'), item.size());
        const auto mask = trace_mask(item.substr(std::min(colon + 1, item.size())));
        if (colon == 0 || !mask) {
            error = "trace '" + printable(item, longest_shown) +
                    "': write GROUP:LETTERS, e.g. pwr_man:CD";
            return false;
        }
        all.emplace_back(item.substr(0, colon), *mask);
    }
    for (const auto& [name, mask] : all)
        switch_on(name, mask);
    return true;
}

} // namespace host
