// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "ap/log.h"

namespace host {

// The bits of capital letters; none when there is anything else, or nothing.
std::optional<std::uint32_t> trace_mask(std::string_view letters);

// Trace groups as the environment and the console switch them. A group may be switched on before
// there is one, and every letter may be: a group's help names those that it explains.
class TraceGroups {
public:
    // As qv_xtrace_init().
    qv_trace_group_t* add(const char* name, const char* letters, std::uint32_t mask);

    // Switches on what "GROUP:LETTERS[,GROUP:LETTERS...]" names; an empty text switches nothing.
    // False, with one line in `error`, when it does not have that form; nothing is switched then.
    bool enable(std::string_view wanted, std::string& error);

    void switch_on(std::string_view name, std::uint32_t mask);
    void switch_off(std::string_view name);

    // The group of that name, null when there is none.
    qv_trace_group_t* find(std::string_view name);

    const std::list<qv_trace_group_t>& all() const { return groups_; }

    // Masks of groups that are switched on and not there yet, by name.
    const std::map<std::string, std::uint32_t, std::less<>>& awaited() const { return awaited_; }

private:
    std::list<qv_trace_group_t> groups_; // a list: addresses are given away for the process's life
    std::map<std::string, std::uint32_t, std::less<>> awaited_;
};

} // namespace host
