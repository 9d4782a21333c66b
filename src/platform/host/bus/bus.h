// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "ap/bus.h"
#include "host/bus/signal_log.h"
#include "host/config/store.h"
#include "host/log/journal.h"

// The connection to the bus. A signal is remembered and noted in the journal, and goes to whoever
// shares the database with this process: without a shared one, to nobody. All that it is given
// must outlive it.
struct _cbus_conn_t {
public:
    _cbus_conn_t(host::Store& store, host::Journal& journal, const host::Clock& clock)
        : store_(store), journal_(journal), signals_(clock)
    {
    }

    // As cbus_send_signal().
    int send(std::string_view name, std::string_view payload);

    const host::SignalLog& sent() const { return signals_; }

    // As cbus_describe().
    void set_describer(const char* name, cbus_describer describer)
    {
        describers_[name] = describer;
    }

    // One line for a person: what the signal's describer says, "signal NAME \"text\"", or the bytes
    // in hexadecimal. `payload` may be cut; `length` is what was sent.
    std::string describe(std::string_view name, std::string_view payload, std::size_t length) const;

private:
    host::Store& store_;
    host::Journal& journal_;
    host::SignalLog signals_;
    std::map<std::string_view, cbus_describer> describers_; // by the signal's name
};
