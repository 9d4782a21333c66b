// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ap/shell.h"
#include "host/bus/bus.h"
#include "host/config/configuration.h"
#include "host/log/journal.h"
#include "host/log/trace_groups.h"
#include "host/loop/loop.h"
#include "host/shell/config_watch.h"
#include "host/shell/line_editor.h"
#include "host/shell/listing.h"

namespace host {

// What the shell's own commands look at and act on. All of it must outlive the shells.
struct ShellContext {
    Configuration& config;
    const Journal& journal;
    const _cbus_conn_t& bus;
    TraceGroups& traces;
    const std::unique_ptr<_fdloop_t>& loop; // null before there is one
    const Clock& clock;
};

// Words of a line: blanks separate them, double quotes hold one together. False when a quote
// is not closed.
bool split_words(std::string_view line, std::vector<std::string>& words);

} // namespace host

// One shell: typed bytes in; echo, prompt and what its commands print go out through qv_puts().
struct qv_cshell {
public:
    // `name` is the prompt; it must outlive the shell.
    qv_cshell(const char* name, const host::ShellContext& context);

    void prompt() const;

    // Any bytes, any split. SHELL_EXIT when the shell wants to end (the rest is dropped), else 0.
    int feed(std::string_view typed);

    // Prints what the source gives: at once when that is little, else as a listing, which goes on
    // after the command's end; the prompt follows it.
    void list(host::Listing::Source source);

    // While a listing runs: input waits with whoever reads it. What comes all the same ends it.
    bool listing() const { return listing_ && listing_->running(); }
    void interrupt_listing() { listing_->interrupt(); }

    // To be called from the loop when a listing has ended.
    void on_listing_end(std::function<void()> call) { listing_ended_ = std::move(call); }

    const host::ShellContext& context() const { return context_; }

    // Of the last command, as a script counts: 0 is success.
    int status() const { return status_; }

    host::ConfigWatch& watches() { return watches_; }
    const host::ConfigWatch& watches() const { return watches_; }

private:
    int handle(host::LineEditor::Event event);
    int run_line(std::string_view line);
    int run_words(std::vector<std::string>& words);
    void complete(std::string_view before, std::string_view word,
                  std::vector<std::string>& candidates) const;

    const char* name_;
    const host::ShellContext& context_;
    host::LineEditor editor_;
    host::ConfigWatch watches_;
    int status_ = 0;
    std::unique_ptr<host::Listing> listing_;
    std::function<void()> listing_ended_ = [] {};
};
