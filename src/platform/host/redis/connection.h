// SPDX-License-Identifier: MIT
// One connection to a Redis server: commands go out in order, each with what is to be done with
// its answer. No call blocks, except wait(), up to an absolute time: a server that is stopped, or
// that sends byte by byte, costs no more.
//
// Results are 0 or a negative errno; while it is closed nothing happens, without an error. After
// an error the connection is of no use any more: what arrives later would answer earlier commands.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/descriptor.h"
#include "host/redis/reply_reader.h"

namespace host {

class Connection {
public:
    using Handler = std::function<void(Reply& reply)>;
    using Words = std::vector<std::string_view>;

    // What a write or a signal came to is taken when there is another reason to look.
    enum class Wanted { now, later };

    // `socket` is connected or on its way to be; `message` takes what the server sends unasked.
    void open(Descriptor socket, Handler message)
    {
        close();
        socket_ = std::move(socket);
        message_ = std::move(message);
    }

    // Forgets everything; handlers that have not been called never will be. They may call it.
    void close() { *this = {}; }
    int descriptor() const { return socket_.get(); }

    // Puts a command behind the others; flush() sends them.
    void ask(const Words& words, Handler handler, Wanted wanted = Wanted::now);

    // Sends what the kernel takes now. -EMSGSIZE when so much is left that nobody can be reading.
    int flush();
    bool unsent() const { return !output_.empty(); }

    // Takes what has arrived, a bounded piece of it, and handles the answers.
    int take();

    // Flushes, waits for something, and takes it. -ETIMEDOUT at the deadline (machine's clock).
    int wait(std::uint64_t deadline_us);

    bool outstanding() const { return !asked_.empty(); }
    bool wanted() const { return wanted_ > 0; }
    bool is_late(std::uint64_t patience_us) const; // has said nothing for so long, when asked

private:
    struct Asked {
        Handler handler;
        std::uint64_t time_us;
        Wanted wanted;
    };

    int receive();

    Descriptor socket_;
    Handler message_;
    std::string output_;
    ReplyReader reader_;
    std::deque<Asked> asked_;
    std::size_t wanted_ = 0; // of them
    std::uint64_t heard_us_ = 0;
};

} // namespace host
