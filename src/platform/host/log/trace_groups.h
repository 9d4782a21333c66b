// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <string_view>

#include "ap/log.h"

namespace host {

// Trace groups as the environment and the console switch them.
class TraceGroups {
public:
    // As qv_xtrace_init().
    qv_trace_group_t* add(const char* name, const char* letters, std::uint32_t mask);

    // Switches on what "GROUP:LETTERS[,GROUP:LETTERS...]" names; an empty text switches nothing.
    // False, with one line in `error`, when a group or a letter is not known; nothing is switched
    // then.
    bool enable(std::string_view wanted, std::string& error);

    // The group of that name, null when there is none.
    qv_trace_group_t* find(std::string_view name);

    const std::list<qv_trace_group_t>& all() const { return groups_; }

private:
    struct Wanted {
        qv_trace_group_t* group;
        std::uint32_t mask;
    };
    bool parse(std::string_view item, Wanted& wanted, std::string& error);

    std::list<qv_trace_group_t> groups_; // a list: addresses are given away for the process's life
};

} // namespace host
