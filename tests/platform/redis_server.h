// SPDX-License-Identifier: MIT
#pragma once

#include <hiredis/hiredis.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>

#include <memory>

#include "support/platform.h"
#include "support/process.h"

// A port that nobody listens at now.
inline int free_port()
{
    const host::Descriptor server(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    listen(server.get(), 1); // takes one
    EXPECT_EQ(getsockname(server.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    return ntohs(address.sin_port);
}

// A private server with a directory and a socket of its own, and somebody else's connection to
// it. All of it is gone with the object.
class RedisServer {
public:
    using Settings = std::vector<std::string>; // lines of the configuration

    explicit RedisServer(const Settings& settings = {}) { start(settings); }

    std::string path(const char* name) const { return (directory_.path() / name).string(); }
    std::string socket() const { return path("socket"); }
    std::string address() const { return "unix:" + socket(); }

    void start(const Settings& settings = {})
    {
        std::ofstream configuration(path("conf"));
        configuration << "port 0\nunixsocket " << socket() << "\ndir " << directory_.path().string()
                      << "\nsave \"\"\nlogfile " << path("log") << "\n";
        for (const std::string& line : settings)
            configuration << line << "\n";
        configuration.close();
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that crashes leaves none behind
            execlp("redis-server", "redis-server", path("conf").c_str(), nullptr);
            _exit(127);
        }
        process_ = Process(child);
        for (int i = 0; i < 5000 && !peer_; ++i, poll(nullptr, 0, 2))
            peer_ = connect();
        EXPECT_TRUE(peer_) << "no server";
    }

    struct Free {
        void operator()(redisContext* context) const { redisFree(context); }
    };
    using Connection = std::unique_ptr<redisContext, Free>;

    // One more client; null when nobody listens.
    Connection connect() const
    {
        Connection connection(redisConnectUnix(socket().c_str()));
        return connection && connection->err == 0 ? std::move(connection) : nullptr;
    }

    void signal(int number) const { process_.signal(number); }
    void kill()
    {
        process_ = Process();
        peer_.reset();
    }

    // Writes the "key = value" lines of a board's seed, as another client.
    void load(const std::filesystem::path& seed)
    {
        std::ifstream lines(seed);
        for (std::string line; std::getline(lines, line);) {
            const std::size_t equals = line.find(" = ");
            if (!line.starts_with('#') && equals != std::string::npos)
                ask("SET %s %s", line.substr(0, equals).c_str(), line.substr(equals + 3).c_str());
        }
    }

    // What another client gets for a command of words without blanks; "" for nothing.
    template <typename... Values>
    std::string ask(const char* format, Values... values)
    {
        auto* const reply = static_cast<redisReply*>(redisCommand(peer_.get(), format, values...));
        std::string text = "(lost)";
        if (reply != nullptr)
            text = reply->str != nullptr                ? std::string(reply->str, reply->len)
                   : reply->type == REDIS_REPLY_INTEGER ? std::to_string(reply->integer)
                                                        : "";
        freeReplyObject(reply);
        return text;
    }

private:
    OwnDirectory directory_;
    Process process_;
    Connection peer_;
};
