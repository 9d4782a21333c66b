// SPDX-License-Identifier: MIT
#include "support/terminal.h"

#include <cstdlib>
#include <fstream>

#include "ap/loop.h"
#include "host/config/configuration.h"
#include "support/process.h"
#include "temperature/temp_sensors.h"

Terminal::Terminal(const char* platform)
{
    const std::string root = directory_.path();
    if (Process({MAKE_BOARD, platform, root}).end() != "exit 0")
        throw std::runtime_error(std::string("no board ") + platform);
    setenv("AP_BOARD_ROOT", root.c_str(), 1);
    setenv("AP_DATABASE_SEED", (root + "/seed").c_str(), 1);
    setenv("TZ", "UTC", 1);
    setenv("AP_LOG_LEVEL", "0", 1); // the journal has the log
    host::instance().clock.make_virtual();
    pwr_mgr_poe = new PwrMgrPoe;
    pwr_mgr_phone = new PwrMgrPhone;
    tg_pwr_man = qv_xtrace_init("pwr_man", "C:\tCommon\nD:\tDetailed trace\n", 4);
    main_fdloop = fdloop_init();
    host::instance().configuration.connect(); // so that the test can change the seed before start()
}

Terminal::~Terminal()
{
    delete pwr_mgr_poe;
    delete pwr_mgr_phone;
}

std::string Terminal::start()
{
    story();
    pwr_mgr_init();
    power_man::start_temp_copy();
    return run(0);
}

std::string Terminal::change(const std::vector<Change>& changes, std::uint64_t milliseconds)
{
    std::vector<host::Write> writes;
    for (const auto& [key, value] : changes)
        writes.push_back({key, value ? std::optional<std::string_view>(*value) : std::nullopt});
    if (!writes.empty() && host::instance().configuration.write(writes) != 0)
        throw std::runtime_error("write refused");
    story();
    return run(milliseconds);
}

std::string Terminal::write(std::initializer_list<std::pair<const char*, int>> values)
{
    std::vector<Change> changes;
    for (const auto& [key, value] : values)
        changes.emplace_back(key, std::to_string(value));
    return change(changes);
}

std::string Terminal::run(std::uint64_t milliseconds)
{
    host::instance().loop->run_for(milliseconds);
    return story();
}

std::string Terminal::story(std::optional<std::uint64_t> origin)
{
    const host::Journal& journal = host::instance().journal;
    if (seen_ + 1 < journal.first())
        throw std::runtime_error("the journal has forgotten lines of this story");
    std::string text;
    while (seen_ < journal.last()) {
        const host::Journal::Line line = journal.line(++seen_);
        if (origin)
            text.append(std::to_string(line.time_ms - *origin)).append(" ms: ");
        text.append(line.text).append("\n");
    }
    return text;
}

std::string Terminal::value(const std::string& key) const
{
    std::string_view text;
    return host::instance().configuration.read(key, text) == 0 ? std::string(text) : "-";
}

fs::path Terminal::path(std::string_view board_path) const
{
    return directory_.path().string() + std::string(board_path);
}

std::string Terminal::file(std::string_view board_path) const
{
    std::ifstream stream(path(board_path));
    std::string line;
    std::getline(stream, line);
    return line;
}

void Terminal::put(std::string_view board_path, std::string_view text) const
{
    std::ofstream(path(board_path)) << text << "\n";
}

std::string only(const std::string& story, Prefixes prefixes)
{
    std::istringstream lines(story);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        for (const std::string_view prefix : prefixes) {
            if (line.starts_with(prefix))
                kept.append(line).append("\n");
        }
    }
    return kept;
}

std::string in_words(const std::string& story)
{
    struct Form {
        std::string_view prefix;
        std::string_view word;
        char equals; // stands for the blank in the rest; 0: the rest is left out
    };
    constexpr Form forms[] = {
        {"raise EV_AP_HIGH_TEMP_", "+", ' '},
        {"clear EV_AP_HIGH_TEMP_", "-", ' '},
        {"raise EV_AP_", "+", ' '},
        {"clear EV_AP_", "-", ' '},
        {"signal psumcu.powerctrl.reboot ", "reboot", 0},
        {"signal psumcu.powerctrl.shutdown ", "shutdown", 0},
        {"set ram.status.power_management.", "", '='},
        {"set ram.status.interfaces.", "", '='},
        {"set ram.status.", "", '='},
        {"set ", "", '='},
        {"pin ", "", '='},
        {"file /sys/devices/platform/fpga.0/control/", "", '='},
        {"file /dev/", "", '='},
        {"signal psumcu.poe.signal.set.poe.psu.enabled ", "supply=", ' '},
        {"signal psumcu.poe.signal.set.port.poe.enabled port ", "port", '='},
    };
    std::istringstream lines(story);
    std::string words;
    for (std::string line; std::getline(lines, line);) {
        for (const Form& form : forms) {
            if (!line.starts_with(form.prefix))
                continue;
            std::string rest = form.equals != 0 ? line.substr(form.prefix.size()) : "";
            if (const std::size_t blank = rest.find(' '); blank != std::string::npos)
                rest[blank] = form.equals;
            line = std::string(form.word) + rest;
            break;
        }
        words.append(words.empty() ? "" : " ").append(line);
    }
    return words;
}

std::string actions_of(const std::string& story)
{
    return in_words(only(story, {"raise", "clear", "signal psumcu.powerctrl", "set ram.fan"}));
}

std::string played(Terminal& terminal, const std::string& table, Prefixes prefixes)
{
    std::istringstream lines(table);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        line = line.substr(0, line.find(" =>"));
        std::istringstream steps(line);
        std::vector<Terminal::Change> changes;
        std::uint64_t milliseconds = 0;
        for (std::string step; steps >> step;) {
            const std::size_t equals = step.find('=');
            if (step[0] == '+') {
                milliseconds = std::stoull(step);
                continue;
            }
            const bool whole = step.starts_with("ram.") || step.starts_with("rmcfg.");
            const std::string value = step.substr(equals + 1);
            changes.emplace_back((whole ? "" : "cfg.interfaces.") + step.substr(0, equals),
                                 value.empty() ? std::nullopt : std::optional(value));
        }
        const std::string story = terminal.change(changes, milliseconds);
        const std::string words = in_words(prefixes.size() > 0 ? only(story, prefixes) : story);
        result += line + " =>" + (words.empty() ? "" : " ") + words + "\n";
    }
    return result;
}

std::string with_failing_device(Terminal& terminal, const char* device, const char* setting)
{
    const fs::path file = terminal.path(device);
    std::string story;
    for (const std::string stand_in :
         {"", "directory", "/proc/self/exe", "/dev/full", "/proc/self/mem"}) {
        fs::remove(file);
        if (stand_in.starts_with("/"))
            fs::create_symlink(stand_in, file);
        else if (!stand_in.empty())
            fs::create_directory(file);
        story += only(terminal.write(setting, 1), {"set", "log"});
    }
    return story;
}
