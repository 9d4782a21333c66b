// SPDX-License-Identifier: MIT
#include "support/terminal.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "ap/loop.h"
#include "base/terminal.h"
#include "core/pwr_mgr_main.h"
#include "host/clock.h"
#include "host/configuration.h"
#include "host/host.h"
#include "temperature/temp_sensors.h"

namespace fs = std::filesystem;

Terminal::Terminal(const char* platform)
{
    std::string name = (fs::temp_directory_path() / "power_man_board_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no directory for the board");
    root_ = name;
    const std::string command =
        std::string(MAKE_BOARD) + " " + platform + " " + root_.string() + " >/dev/null";
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("no board: " + command);
    setenv("AP_BOARD_ROOT", root_.c_str(), 1);
    setenv("AP_DATABASE_SEED", (root_ / "seed").c_str(), 1);
    setenv("AP_LOG_LEVEL", "0", 1); // the journal has the log
    host::clock::make_virtual();
    pwr_mgr_poe = new PwrMgrPoe;
    pwr_mgr_phone = new PwrMgrPhone;
    tg_pwr_man = qv_xtrace_init("pwr_man", "C:\tCommon\nD:\tDetailed trace\n", 4);
    main_fdloop = fdloop_init();
    host::instance().connected = true; // so that the test can change the seed before start()
}

Terminal::~Terminal()
{
    delete pwr_mgr_poe;
    delete pwr_mgr_phone;
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

std::string Terminal::start()
{
    story();
    pwr_mgr_init();
    if (power_man::has_temp_copy())
        fdloop_timer_add(main_fdloop, power_man::temp_copy_period_ms, platform_temp_copy_cb,
                         nullptr);
    return run(0);
}

std::string Terminal::write(std::initializer_list<std::pair<const char*, int>> values)
{
    std::vector<std::string> texts;
    for (const auto& [key, value] : values)
        texts.push_back(std::to_string(value));
    std::vector<host::Write> writes;
    for (const auto& [key, value] : values)
        writes.push_back({key, texts[writes.size()]});
    if (const int result = host::config_write(writes); result != 0)
        throw std::runtime_error("write refused");
    story();
    return run(0);
}

std::string Terminal::write_text(const char* key, const char* value)
{
    const host::Write write{key, value};
    if (host::config_write({&write, 1}) != 0)
        throw std::runtime_error("write refused");
    story();
    return run(0);
}

std::string Terminal::remove(const char* key)
{
    const host::Write write{key, std::nullopt};
    if (host::config_write({&write, 1}) != 0)
        throw std::runtime_error("removal refused");
    story();
    return run(0);
}

std::string Terminal::run(std::uint64_t milliseconds)
{
    host::instance().loop->run_for(milliseconds);
    return story();
}

std::string Terminal::story()
{
    return take_lines(nullptr);
}

std::string Terminal::timed_story(std::uint64_t origin)
{
    return take_lines(&origin);
}

std::string Terminal::take_lines(const std::uint64_t* origin)
{
    const host::Journal& journal = host::instance().journal;
    if (seen_ + 1 < journal.first())
        throw std::runtime_error("the journal has forgotten lines of this story");
    std::string text;
    while (seen_ < journal.last()) {
        const host::Journal::Line line = journal.line(++seen_);
        if (origin != nullptr)
            text.append(std::to_string(line.time_ms - *origin)).append(" ms: ");
        text.append(line.text).append("\n");
    }
    return text;
}

std::string Terminal::value(const char* key) const
{
    std::string_view text;
    return host::config_read(key, text) == 0 ? std::string(text) : "-";
}

fs::path Terminal::path(std::string_view board_path) const
{
    return root_.string() + std::string(board_path);
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

std::string only(const std::string& story, std::initializer_list<std::string_view> prefixes)
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
