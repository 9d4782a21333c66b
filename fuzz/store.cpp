// SPDX-License-Identifier: MIT
// The mirror of a shared database whose server answers as the input has it: well, by halves,
// wrongly, or not at all. Once a sound one has been connected to, what is read and what was told
// last is what the server has.
//
// Code: src/platform/host/redis/redis_store.cpp src/platform/host/redis/redis_connection.cpp
// src/platform/host/redis/redis_mirroring.cpp src/platform/host/redis/connection.cpp
// src/platform/host/config/mirror.cpp
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <ctime>
#include <map>

#include "fuzz.h"
#include "host/base/integer.h"
#include "host/redis/redis_store.h"

using fuzz::require;

namespace {

std::string text(std::string_view word)
{
    return "$" + std::to_string(word.size()) + "\r\n" + std::string(word) + "\r\n";
}

struct Server {
    struct Peer {
        host::Descriptor end = {};
        int client = -1;
        host::ReplyReader heard = {};
        std::string unsaid = {};
    };
    fuzz::Input& script;
    bool sound;
    std::map<std::string, std::string> keys = {{"a", "1"}, {"a.b", "text"}, {"cfg.a", "3"}};
    std::array<Peer, 2> peers = {}; // for commands, for messages
    std::size_t next = 0;

    host::Descriptor connect()
    {
        std::array<int, 2> ends{};
        const int type = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;
        require(socketpair(AF_UNIX, type, 0, ends.data()) == 0);
        peers[next++ % 2] = {host::Descriptor(ends[1]), ends[0], {}, {}};
        return host::Descriptor(ends[0]);
    }
    // A client has sent that; it is answered before the client goes on.
    void hear(int client, std::string_view bytes)
    {
        Peer& peer = peers[client == peers[0].client ? 0 : 1];
        peer.heard.feed(bytes);
        host::Reply command;
        while (peer.end && peer.heard.next(command) == host::ReplyReader::Step::complete) {
            const std::string right = answer(command.elements);
            const std::uint8_t choice = sound ? 0 : script.byte();
            if (choice >= 0xfe)
                peer = {};
            else
                say(peer, choice < 0xf8 ? right : script.text('\xff'), choice >= 0xf0 ? 4 : 0);
        }
    }
    static void say(Peer& peer, std::string_view words, std::size_t hold_back = 0)
    {
        peer.unsaid += words;
        const std::size_t length = peer.unsaid.size() - std::min(hold_back, peer.unsaid.size());
        const ssize_t sent =
            sendto(peer.end.get(), peer.unsaid.data(), length, MSG_NOSIGNAL, nullptr, 0);
        peer.unsaid.erase(0, static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
    }
    // Somebody else writes.
    void write(const std::string& key, std::optional<std::string_view> value)
    {
        keys.erase(key);
        if (value)
            keys.emplace(key, *value);
        say(peers[1], "*3\r\n" + text("message") + text("invalidate") + "*1\r\n" + text(key));
    }
    std::string answer(const std::vector<host::Reply>& words)
    {
        const std::string& name = words.front().text;
        std::string found;
        for (std::size_t i = 1; i < words.size(); ++i) {
            const auto key = keys.find(words[i].text);
            found += key != keys.end() ? text(key->second) : "$-1\r\n";
            if (name == "DEL")
                keys.erase(words[i].text);
            else if (name == "MSET" && i % 2 == 1)
                keys[words[i].text] = words[i + 1].text;
        }
        if (name == "MGET")
            return "*" + std::to_string(words.size() - 1) + "\r\n" + found;
        if (name == "SCAN") {
            found = "*2\r\n" + text("0") + "*" + std::to_string(keys.size()) + "\r\n";
            for (const auto& [key, value] : keys)
                found += text(key);
            return found;
        }
        if (name == "SUBSCRIBE")
            return "*3\r\n" + text("subscribe") + text("invalidate") + ":1\r\n";
        const bool asks_id = name == "CLIENT" && words[1].text == "ID";
        return asks_id ? ":7\r\n" : name == "INFO" ? text("run_id:1") : "+OK\r\n";
    }
    void hang_up() { peers = {}; }
};

struct Ended {}; // the process, by its own decision

using Told = std::map<std::string, std::optional<std::int32_t>>;

void note(unsigned int count, const config_data_t* records, void* user)
{
    for (const config_data_t& record : std::span(records, count)) {
        const auto* const value = static_cast<const std::int32_t*>(record.data);
        (*static_cast<Told*>(user))[record.key] = value ? std::optional(*value) : std::nullopt;
    }
}

struct Client {
    Server& server;
    host::Clock clock = {};
    host::Journal journal{clock};
    host::Log log{journal};
    host::ChangeDispatcher changes = {};
    host::RedisStore store{
        {"it", {{}}, "0", "", [](const std::string&) { throw Ended(); }}, changes, clock, log};
    host::Configuration config{store, changes, journal};
    Told told = {};
    std::unique_ptr<_fdloop_t> loop = {};

    void live(fuzz::Input& input)
    {
        std::string error;
        const bool started = store.start(error);
        require(started == error.empty());
        if (!started)
            return;
        loop = _fdloop_t::create(clock, log);
        store.attach(*loop);
        loop->add_deferred(&changes);
        config.connect();
        while (!input.rest.empty())
            step(input);
        server.sound = true;
        server.hang_up();
        loop->run_for(1000);
        require(store.state() == host::RedisStore::State::live);
        for (const auto& [key, value] : server.keys) {
            std::string_view known;
            require(config.read(key, known) == 0 && known == value);
        }
        for (const auto& [key, value] : told) {
            const auto found = server.keys.find(key);
            const bool none = found == server.keys.end();
            require(value == (none ? std::nullopt : host::parse_integer(found->second)));
        }
    }

    void step(fuzz::Input& input)
    {
        constexpr std::array names = {"a", "a.b", "a.b.c", "a.bc", "cfg", "cfg.a", "b.x", "z"};
        const std::uint8_t choice = input.byte();
        const std::string name = names[choice % 8];
        const bool removes = (choice & 8U) == 0;
        const host::Write write{name, removes ? std::nullopt : std::optional(input.take(2))};
        std::string_view value;
        std::vector<std::string> keys = {name, "other"};
        std::vector<host::Value> values;
        switch (choice >> 4U) {
            // clang-format off
        case 0: config.read(name, value); break;
        case 1: config.write({&write, 1}); break;
        case 2: config.follow(name, note, &told); break;
        case 3: server.write(name, write.value); break;
        case 4: config.look(keys, values); break;
        case 5: config.list(name, keys); break;
        case 6: store.publish(name, "payload"); break;
        case 7: server.hang_up(); break;
        case 8: server.say(server.peers[choice % 2], input.text('\xff')); break;
        case 9: store.set_user_settings("cfg"); break;
        default: loop->run_for(choice % 8 * 50); break;
            // clang-format on
        }
    }
};

Server* present_server = nullptr;
host::Clock* present_clock = nullptr;

} // namespace

// The machine as the store sees it: connections lead to that server, waiting makes time go on.
host::Descriptor host::connect_to(const Endpoint&)
{
    return present_server->connect();
}

extern "C" ssize_t send(int fd, const void* data, std::size_t size, int flags)
{
    const ssize_t sent = sendto(fd, data, size, flags, nullptr, 0);
    if (sent > 0)
        present_server->hear(fd, {static_cast<const char*>(data), static_cast<std::size_t>(sent)});
    return sent;
}

extern "C" int poll(pollfd* entries, nfds_t count, int timeout_ms)
{
    const timespec none{};
    const int ready = ppoll(entries, count, &none, nullptr);
    if (ready == 0)
        present_clock->wait_ms(static_cast<std::uint64_t>(timeout_ms));
    return ready;
}

extern "C" int clock_gettime(clockid_t id, timespec* time) noexcept
{
    if (id == CLOCK_REALTIME)
        return std::timespec_get(time, TIME_UTC) == TIME_UTC ? 0 : -1;
    const std::uint64_t now_ms = present_clock != nullptr ? present_clock->now_ms() : 0;
    time->tv_sec = static_cast<time_t>(1000 + now_ms / 1000);
    time->tv_nsec = static_cast<long>(now_ms % 1000 * 1'000'000);
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    Server server{input, input.byte() % 2 == 1};
    present_server = &server;
    try {
        Client client{server};
        client.clock.make_virtual();
        client.log.set_sink([](int, std::string_view) {});
        present_clock = &client.clock;
        client.live(input);
    } catch (const Ended&) {
    }
    present_clock = nullptr;
    return 0;
}
