// SPDX-License-Identifier: MIT
// The actions of a story in a few words, for tables of many transitions.
#pragma once

#include <sstream>
#include <string>
#include <string_view>

// "+POE" for an event that is raised, "-POE" for one that is cleared, "reboot", "shutdown",
// "fan255", separated by blanks; other lines are left out.
inline std::string brief(const std::string& story)
{
    struct Form {
        std::string_view prefix;
        std::string_view word;
        bool keep_rest;
    };
    constexpr Form forms[] = {
        {"raise EV_AP_HIGH_TEMP_", "+", true},
        {"clear EV_AP_HIGH_TEMP_", "-", true},
        {"raise EV_AP_", "+", true},
        {"clear EV_AP_", "-", true},
        {"signal psumcu.powerctrl.reboot ", "reboot", false},
        {"signal psumcu.powerctrl.shutdown ", "shutdown", false},
        {"set ram.fan.set_speed ", "fan", true},
    };
    std::istringstream lines(story);
    std::string words;
    for (std::string line; std::getline(lines, line);) {
        for (const Form& form : forms) {
            if (!line.starts_with(form.prefix))
                continue;
            words.append(words.empty() ? "" : " ").append(form.word);
            if (form.keep_rest)
                words.append(line, form.prefix.size());
            break;
        }
    }
    return words;
}
