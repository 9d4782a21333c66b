// SPDX-License-Identifier: MIT
#pragma once

#include <cstdarg>
#include <string_view>

#include "host/base/outlet.h"
#include "host/log/journal.h"

namespace host {

// The log on standard error; lines of level 5 and graver go to the journal too. Levels are
// syslog's: 1 alert, 3 error, 4 warning, 5 notice, 7 debug. A line is cut at 1023 characters.
// Nobody waits for the reader of standard error; what it does not take is dropped and counted.
class Log {
public:
    // Takes a line in place of standard error, whatever its level; traces have level 7.
    using Sink = void (*)(int level, std::string_view text);

    // `level`: the highest that is written. The journal must outlive the log.
    explicit Log(Journal& journal, int level = 5);

    // Null for standard error again.
    void set_sink(Sink sink) { sink_ = sink; }

    void write(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void vwrite(int level, const char* format, va_list arguments)
        __attribute__((format(printf, 3, 0)));

    // Written whatever the highest level is.
    void vwrite_always(int level, const char* format, va_list arguments)
        __attribute__((format(printf, 3, 0)));

private:
    void vwrite_if(bool wanted, int level, const char* format, va_list arguments)
        __attribute__((format(printf, 4, 0)));
    void emit(int level, std::string_view text);

    Journal& journal_;
    Outlet standard_error_;
    Sink sink_ = nullptr;
    int level_;
    bool to_journal_service_; // standard error is its: it takes the level from a prefix
};

} // namespace host
