// SPDX-License-Identifier: MIT
// A connection to the console.
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "telnet_text.h"

namespace ctl {

struct Address {
    std::string host = "127.0.0.1"; // a number, or "localhost": the console speaks IPv4 only
    std::uint16_t port = 2205;
};

class Connection {
public:
    // `patience`: how long a console that owes an answer may be silent.
    explicit Connection(std::chrono::seconds patience) : patience_(patience) {}
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // False after a complaint. Waits for the console's first words, too, which the next receive()
    // gives: what is sent to a console that is hanging up costs the reason that it gives.
    bool open(const Address& address);

    // Waits until all of it is on its way, with patience. False after a complaint. That the
    // connection has ended is left to be told by receive(), behind what the console still said.
    bool send(std::string_view bytes);

    // Waits for text and appends it.
    enum class Wait { patiently, for_ever };
    enum class Received { text, silence, end };
    Received receive(std::string& text, Wait wait = Wait::patiently);

    // What is there already; none is no silence. To wait for more than this connection: the
    // descriptor is readable.
    Received receive_now(std::string& text);
    int descriptor() const { return fd_; }

    // Names the console.
    void complain(std::string_view about) const;
    void complain_of_silence() const;

private:
    bool connect_to(const sockaddr_in& peer);
    bool wait_for(short events, std::chrono::milliseconds limit) const;
    Received await_text(std::string& text, Wait wait);
    Received read(std::string& text);

    int fd_ = -1;
    std::chrono::seconds patience_;
    std::string name_;
    TelnetText telnet_;
    std::string first_words_;
};

} // namespace ctl
