// SPDX-License-Identifier: MIT
// The console of the whole daemon, from the other end of a connection: whatever is typed, what
// comes back is fit for a terminal.
//
// Code: src/platform/host/shell src/console src/insight
#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <map>

#include "base/config_keys.h"
#include "base/terminal.h"
#include "console/fdloop_telnetd.h"
#include "core/pwr_mgr_main.h"
#include "fuzz.h"
#include "host/base/printable.h"
#include "temperature/temp_sensors.h"

using fuzz::put;
using fuzz::require;

namespace {

namespace key = power_man::key;

struct Daemon {
    const int listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    sockaddr* const name = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    std::map<std::string, std::string> before; // the database

    Daemon()
    {
        fuzz::platform();
        put(key::platform_id, "qv1202B");
        put(key::external_supply, "1");
        put(key::usb_capability, "1");
        put(key::mainboard_temperature, "40");
        put("text", "\x1b[2J\r\n\xff\xfb\x01");
        for (int i = 0; i < 60; ++i) // more than a listing shows at once
            put("list." + std::to_string(i), "value");
        pwr_mgr_poe = new PwrMgrPoe;
        pwr_mgr_phone = new PwrMgrPhone;
        tg_pwr_man = qv_xtrace_init("pwr_man", "C:\tCommon\nD:\tDetailed trace\n", 4);
        main_fdloop = fuzz::platform().loop.get();
        pwr_mgr_init();
        power_man::start_temp_copy();
        require(bind(listening, name, size) == 0 && listen(listening, 1) == 0);
        require(getsockname(listening, name, &size) == 0);
        main_fdloop->run_for(0);
        for (const std::string& each : fuzz::keys())
            before.emplace(each, value(each));
    }
    static std::string value(const std::string& of)
    {
        std::string_view text;
        const int error = fuzz::platform().store->read(of, text);
        return error == 0 ? std::string(text) : "none";
    }

    // What comes back for what is typed.
    std::string answer(fuzz::Input typed)
    {
        const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const linger none{1, 0}; // nothing stays in the kernel, whose ports are few
        setsockopt(client, SOL_SOCKET, SO_LINGER, &none, sizeof none);
        require(connect(client, name, size) == 0);
        fdloop_telnetd_accept(listening, main_fdloop);
        std::string text;
        std::array<char, 4096> part;
        do {
            const std::string_view piece = typed.take(100);
            send(client, piece.data(), piece.size(), MSG_NOSIGNAL);
            main_fdloop->run_for(0);
            for (ssize_t got = 0; (got = recv(client, part.data(), part.size(), MSG_DONTWAIT)) > 0;)
                text.append(part.data(), static_cast<std::size_t>(got));
        } while (!typed.rest.empty());
        close(client);
        main_fdloop->run_for(0);
        return text;
    }

    void restore()
    {
        for (const std::string& each : fuzz::keys()) {
            if (!before.contains(each))
                put(each, std::nullopt);
        }
        for (const auto& [each, was] : before) {
            if (value(each) != was)
                put(each, was);
        }
        host::TraceGroups& traces = fuzz::platform().traces;
        for (const qv_trace_group_t& group : traces.all())
            traces.switch_off(group.name);
        while (!traces.awaited().empty())
            traces.switch_off(std::string(traces.awaited().begin()->first));
        main_fdloop->run_for(0);
    }
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Daemon daemon;
    constexpr std::string_view offers = "\xff\xfb\x01\xff\xfb\x03\xff\xfd\x03";
    const std::string text = daemon.answer({data, size});
    require(text.starts_with(offers));
    for (std::size_t i = offers.size(); i < text.size(); ++i) {
        require(host::is_printable(text[i]) || std::string_view("\r\n\a\b").find(text[i]) < 4);
        require(text[i] != '\n' || text[i - 1] == '\r');
    }
    daemon.restore();
    return 0;
}
