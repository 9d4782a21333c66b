// SPDX-License-Identifier: MIT
#include "options.h"

#include <getopt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include "models/models.h"

namespace replay {
namespace {

namespace fs = std::filesystem;

constexpr int wrong_use = 2;
constexpr double longest_step = 3600; // seconds

constexpr const char* usage =
    "usage: power_man-replay --model ID [OPTION...] TRACE\n"
    "Shows what the power-management daemon does with the readings of a terminal.\n"
    "\n"
    "TRACE is a table with commas, whose first column holds seconds or a date and whose other\n"
    "columns are named by keys, or what 'redis-cli MONITOR' printed; gzip is read, and - is\n"
    "standard input.\n"
    "\n"
    "  --model ID        the terminal's model:\n"
    "                   ";
constexpr const char* usage_options =
    "\n"
    "  --supply on|off   the external supply, where the trace does not tell it (on)\n"
    "  --seed FILE       other keys of the database at the start: 'key = value' lines\n"
    "  --interpolate     one write for each degree between a temperature and its next one\n"
    "  --heat FILE       closed loop: the trace tells 'ambient' and 'load', and this file how the\n"
    "                    terminal's sensors get warm from them\n"
    "  --step SECONDS    of the closed loop (1)\n"
    "  --text FILE       where the story goes as text (standard output, unless one of the next\n"
    "                    two is given)\n"
    "  --html FILE       the story as a page with its curves\n"
    "  --svg FILE        the curves alone\n"
    "  --help, --version\n"
    "\n"
    "Status: 0 done, 1 the output cannot be written, 2 wrong use or a trace that is refused.\n";

enum Option : int {
    model_option = 256,
    supply_option,
    seed_option,
    interpolate_option,
    heat_option,
    step_option,
    text_option,
    html_option,
    svg_option,
    help_option,
    version_option
};

constexpr option long_options[] = {
    {"model", required_argument, nullptr, model_option},
    {"supply", required_argument, nullptr, supply_option},
    {"seed", required_argument, nullptr, seed_option},
    {"interpolate", no_argument, nullptr, interpolate_option},
    {"heat", required_argument, nullptr, heat_option},
    {"step", required_argument, nullptr, step_option},
    {"text", required_argument, nullptr, text_option},
    {"html", required_argument, nullptr, html_option},
    {"svg", required_argument, nullptr, svg_option},
    {"help", no_argument, nullptr, help_option},
    {"version", no_argument, nullptr, version_option},
    {nullptr, 0, nullptr, 0},
};

std::string model_ids()
{
    std::string ids;
    for (const power_man::Model* const model : power_man::all_models())
        ids += std::string(" ") + model->id;
    return ids;
}

bool complain(const std::string& what)
{
    std::fprintf(stderr, "power_man-replay: %s\nTry 'power_man-replay --help'.\n", what.c_str());
    return false;
}

bool read_step(std::string_view text, double& step)
{
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, step);
    return error == std::errc{} && stop == end && step >= 0.001 && step <= longest_step;
}

// False when the option is refused.
bool take(int option, const char* text, Options& options)
{
    const std::string value = text != nullptr ? text : "";
    if (text != nullptr && value.empty())
        return complain("an option that has a value has an empty one");
    switch (option) {
    case model_option:
        options.model = power_man::find_model(value);
        return options.model != nullptr ||
               complain("there is no model '" + value + "'; the models are:" + model_ids());
    case supply_option:
        options.supplied = value == "on";
        return value == "on" || value == "off" || complain("--supply is on or off");
    case seed_option:
        options.seed = value;
        return true;
    case interpolate_option:
        options.interpolate = true;
        return true;
    case heat_option:
        options.heat = value;
        return true;
    case step_option:
        return read_step(value, options.step) ||
               complain("--step is a number of seconds from 0.001 to 3600");
    case text_option:
        options.text = value;
        return true;
    case html_option:
        options.html = value;
        return true;
    case svg_option:
        options.svg = value;
        return true;
    default:
        std::fputs("Try 'power_man-replay --help'.\n", stderr); // getopt has said what is wrong
        return false;
    }
}

bool is_same(const std::string& one, const std::string& other)
{
    std::error_code ignored;
    return !fs::is_character_file(one, ignored) &&
           (one == other || fs::equivalent(one, other, ignored));
}

// A recording that an output is written over is lost.
bool are_apart(const Options& options)
{
    const std::array outputs = {&options.text, &options.html, &options.svg};
    const std::array inputs = {&options.trace, &options.seed, &options.heat};
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const std::string& output = *outputs[i];
        if (output.empty())
            continue;
        const auto same = [&](const std::string* other) { return is_same(output, *other); };
        if (std::any_of(outputs.begin() + i + 1, outputs.end(), same))
            return complain("two outputs go to '" + output + "'");
        if (output != "-" && std::any_of(inputs.begin(), inputs.end(), same))
            return complain("'" + output + "' is an input, and would be written over");
    }
    return true;
}

} // namespace

std::optional<Options> read_options(int argc, char** argv, int& status)
{
    Options options;
    bool text_given = false;
    status = wrong_use;
    for (int option = 0; (option = getopt_long(argc, argv, "", long_options, nullptr)) != -1;) {
        if (option == help_option || option == version_option) {
            const std::string text = option == help_option
                                         ? usage + model_ids() + usage_options
                                         : std::string("power_man-replay " VERSION "\n");
            const bool printed = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
            status = printed ? 0 : 1;
            return std::nullopt;
        }
        if (!take(option, optarg, options))
            return std::nullopt;
        text_given = text_given || option == text_option;
    }
    bool good = true;
    if (optind + 1 != argc)
        good = complain(optind == argc ? "which trace?" : "one trace at a time");
    else if (options.model == nullptr)
        good = complain("which --model? There are:" + model_ids());
    if (!good)
        return std::nullopt;
    options.trace = argv[optind];
    if (!text_given && (!options.html.empty() || !options.svg.empty()))
        options.text.clear();
    return are_apart(options) ? std::optional(options) : std::nullopt;
}

} // namespace replay
