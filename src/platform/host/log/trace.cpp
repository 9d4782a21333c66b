// SPDX-License-Identifier: MIT
#include "host/log/trace.h"

#include <algorithm>
#include <list>
#include <string>

namespace host {
namespace {

// A list: the groups' addresses are given away for the life of the process.
std::list<qv_trace_group_t>& groups()
{
    static std::list<qv_trace_group_t> all;
    return all;
}

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

// Calls `use` for the group and the mask of each "GROUP:LETTERS"; false at the first bad one.
bool for_each_wanted(std::string_view wanted, std::string& error,
                     const std::function<void(qv_trace_group_t&, std::uint32_t)>& use)
{
    while (!wanted.empty()) {
        const std::string_view item = wanted.substr(0, wanted.find(','));
        wanted.remove_prefix(std::min(wanted.size(), item.size() + 1));
        const std::size_t colon = item.find(':');
        qv_trace_group_t* const group = find_trace_group(item.substr(0, colon));
        const bool complete = colon != std::string_view::npos && colon + 1 < item.size();
        if (group == nullptr || !complete) {
            error = "trace '" + std::string(item) +
                    "': " + (complete ? "no such group" : "write GROUP:LETTERS, e.g. pwr_man:CD");
            return false;
        }
        std::uint32_t mask = 0;
        for (const char letter : item.substr(colon + 1)) {
            if (!has_letter(*group, letter)) {
                error = "trace '" + std::string(item) + "': no letter '" + letter + "' there";
                return false;
            }
            mask |= 1U << (static_cast<unsigned int>(letter - 'A') % 32U);
        }
        use(*group, mask);
    }
    return true;
}

} // namespace

qv_trace_group_t* find_trace_group(std::string_view name)
{
    const auto found = std::find_if(groups().begin(), groups().end(),
                                    [name](const auto& group) { return group.name == name; });
    return found == groups().end() ? nullptr : &*found;
}

void for_each_trace_group(const std::function<void(qv_trace_group_t&)>& visit)
{
    std::for_each(groups().begin(), groups().end(), visit);
}

bool enable_traces(std::string_view wanted, std::string& error)
{
    if (!for_each_wanted(wanted, error, [](qv_trace_group_t&, std::uint32_t) {}))
        return false;
    return for_each_wanted(wanted, error, [](qv_trace_group_t& group, std::uint32_t mask) {
        group.mask = mask;
        group.enabled = 1;
    });
}

} // namespace host

qv_trace_group_t* qv_xtrace_init(const char* name, const char* letters, std::uint32_t mask)
{
    if (qv_trace_group_t* const known = host::find_trace_group(name); known != nullptr)
        return known;
    host::groups().push_back({name, letters, 0, mask});
    return &host::groups().back();
}
