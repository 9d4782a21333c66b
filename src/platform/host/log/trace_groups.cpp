// SPDX-License-Identifier: MIT
#include "host/log/trace_groups.h"

#include <algorithm>
#include <vector>

namespace host {
namespace {

// The letter's title stands behind it in the help text: "C:\tCommon\n".
bool has_letter(const qv_trace_group_t& group, char letter)
{
    const std::string_view letters = group.letters;
    for (std::size_t at = 0; at + 1 < letters.size();) {
        if (letters[at] == letter && letters[at + 1] == ':')
            return true;
        const std::size_t line_end = letters.find('\n', at);
        if (line_end == std::string_view::npos)
            break;
        at = line_end + 1;
    }
    return false;
}

} // namespace

qv_trace_group_t* TraceGroups::add(const char* name, const char* letters, std::uint32_t mask)
{
    if (qv_trace_group_t* const known = find(name); known != nullptr)
        return known;
    groups_.push_back({name, letters, 0, mask});
    return &groups_.back();
}

qv_trace_group_t* TraceGroups::find(std::string_view name)
{
    const auto found = std::find_if(groups_.begin(), groups_.end(),
                                    [name](const auto& group) { return group.name == name; });
    return found == groups_.end() ? nullptr : &*found;
}

bool TraceGroups::parse(std::string_view item, Wanted& wanted, std::string& error)
{
    const auto refuse = [&](const std::string& why) {
        error = "trace '" + std::string(item) + "': " + why;
        return false;
    };
    const std::size_t colon = item.find(':');
    if (colon == std::string_view::npos || colon + 1 == item.size())
        return refuse("write GROUP:LETTERS, e.g. pwr_man:CD");
    wanted = {find(item.substr(0, colon)), 0};
    if (wanted.group == nullptr)
        return refuse("no such group");
    for (const char letter : item.substr(colon + 1)) {
        if (!has_letter(*wanted.group, letter))
            return refuse(std::string("no letter '") + letter + "' there");
        wanted.mask |= 1U << (static_cast<unsigned int>(letter - 'A') % 32U);
    }
    return true;
}

bool TraceGroups::enable(std::string_view wanted, std::string& error)
{
    std::vector<Wanted> all;
    while (!wanted.empty()) {
        const std::string_view item = wanted.substr(0, wanted.find(','));
        wanted.remove_prefix(std::min(wanted.size(), item.size() + 1));
        if (!parse(item, all.emplace_back(), error))
            return false;
    }
    for (const auto& [group, mask] : all) {
        group->mask = mask;
        group->enabled = 1;
    }
    return true;
}

} // namespace host
