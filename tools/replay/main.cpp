// SPDX-License-Identifier: MIT
// power_man-replay: what the daemon does with the readings of a terminal, in virtual time.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "drawing.h"
#include "interpolated_trace.h"
#include "interruption.h"
#include "options.h"
#include "output.h"
#include "page.h"
#include "picture.h"
#include "player.h"
#include "recorder.h"
#include "summary.h"
#include "terminal.h"
#include "text_report.h"
#include "thermal_model.h"
#include "trace.h"

namespace replay {
namespace {

constexpr int cannot_write = 1;
constexpr int refused = 2;

int fail(const std::string& error, int status)
{
    if (interruption() == 0) // or the signal tells
        std::fprintf(stderr, "power_man-replay: %s\n", error.c_str());
    return status;
}

std::vector<std::string> temperature_keys(const power_man::Model& model)
{
    std::vector<std::string> keys;
    for (const power_man::Source& source : model.sources) {
        if (source.reading == power_man::Reading::temperature)
            keys.emplace_back(source.key);
    }
    return keys;
}

std::unique_ptr<Trace> make_trace(const Options& options, std::string& error)
{
    std::unique_ptr<Trace> trace = open_trace(options.trace, error);
    if (trace == nullptr || !options.interpolate)
        return trace;
    return std::make_unique<InterpolatedTrace>(std::move(trace), temperature_keys(*options.model));
}

// The next two tell what a reader should know who wonders why something did not happen.
void note_passed_over(const std::string& name, const Trace& trace)
{
    for (const PassedOver& passed : trace.passed_over())
        std::fprintf(stderr, "%s: note: passed over %llu: %s\n", name.c_str(),
                     static_cast<unsigned long long>(passed.lines), passed.reason);
}

void note_what_is_not_followed(const std::string& name, const Trace& trace,
                               const Terminal& terminal)
{
    for (const std::string_view key : trace.keys()) {
        // The originals of the copies are read with a timer.
        if (!terminal.follows(key) && !key.starts_with("rmcfg.platform."))
            std::fprintf(stderr, "%s: note: the daemon does not follow '%.*s'\n", name.c_str(),
                         static_cast<int>(key.size()), key.data());
    }
}

int run(const Options& options)
{
    const power_man::Model& model = *options.model;
    std::string error;
    std::vector<SensorHeat> heat;
    if (!options.heat.empty()) {
        auto read = read_thermal_model(options.heat, model, error);
        if (!read)
            return fail(error, refused);
        heat = std::move(*read);
    }
    const std::unique_ptr<Trace> trace = make_trace(options, error);
    if (!trace)
        return fail(error, refused);
    const std::string name = options.trace == "-" ? "standard input" : options.trace;
    Row row;
    if (!trace->next(row)) {
        note_passed_over(name, *trace);
        return fail(trace->failed() ? trace->error() : name + ": it has no row", refused);
    }

    const std::int64_t begin_ms = row.time_ms;
    Output text;
    if (!options.text.empty() && !text.open(options.text))
        return fail(text.error(), cannot_write);
    Output html;
    if (!options.html.empty() && !html.open(options.html))
        return fail(html.error(), cannot_write);
    Output svg;
    if (!options.svg.empty() && !svg.open(options.svg))
        return fail(svg.error(), cannot_write);
    Summary summary(model);
    TextReport report(model, begin_ms, text);
    Picture picture(model);
    std::vector<Listener*> listeners = {&summary};
    const bool drawn = !options.html.empty() || !options.svg.empty();
    if (drawn)
        listeners.push_back(&picture);
    if (!options.text.empty())
        listeners.push_back(&report);
    Recorder recorder(model, listeners);

    Terminal terminal(model, begin_ms, options.supplied);
    if (!terminal.error().empty())
        return fail(terminal.error(), cannot_write);
    if (!options.seed.empty() && !terminal.load(options.seed, error))
        return fail(error, refused);
    Player player(model, terminal, recorder, std::move(heat),
                  static_cast<std::int64_t>(1000 * options.step));
    if (!player.play(*trace, row)) {
        text.close();
        return fail(player.error(), terminal.error().empty() ? refused : cannot_write);
    }
    note_what_is_not_followed(name, *trace, terminal);
    note_passed_over(name, *trace);
    if (!options.text.empty())
        report.table(summary);
    const Subject subject{model, begin_ms, name.substr(name.rfind('/') + 1)};
    if (!options.html.empty())
        write_page(html, subject, picture, summary);
    if (!options.svg.empty())
        Drawing(subject, picture).write_file(svg);
    for (Output* const output : {&text, &html, &svg}) {
        if (!output->close())
            return fail(output->error(), cannot_write);
    }
    return 0;
}

} // namespace
} // namespace replay

int main(int argc, char** argv)
{
    int status = 0;
    const auto options = replay::read_options(argc, argv, status);
    if (!options)
        return status;
    unsetenv("NOTIFY_SOCKET"); // nobody supervises a replay
    replay::note_interruptions();
    status = replay::run(*options);
    if (const int signal = replay::interruption(); signal != 0) {
        std::signal(signal, SIG_DFL);
        std::raise(signal); // whoever waits for this process is to know
    }
    return status;
}
