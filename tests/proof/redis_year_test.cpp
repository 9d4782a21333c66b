// SPDX-License-Identifier: MIT
// A year with a real server, which is lost with all that it knows, or one connection to it alone.
// Each of the two has its own time: the terminal's stands still while it waits for the server.
#include "host/redis/redis_store.h"
#include "platform/redis_server.h"
#include "proof/life.h"
#include "support/manager.h"

namespace proof {
namespace {

constexpr const char* marker = "proof.marker";

struct OwnServer {
    OwnServer() { setenv("AP_DATABASE", ("tcp:localhost:" + port + "#2").c_str(), 1); }

    const std::string port = std::to_string(free_port());
    const RedisServer::Settings settings = {"port " + port, "databases 4"};
    RedisServer server{settings};
};

class SharedLife : OwnServer, public Life { // the server first: the terminal connects to it
public:
    explicit SharedLife(const Policy& policy) : Life(policy)
    {
        load_seed();
        const auto note = [](unsigned int count, const config_data_t* records, void* user) {
            if (const void* const value = records[count - 1].data; value != nullptr)
                *static_cast<int*>(user) = *static_cast<const int*>(value);
        };
        config_change_register(marker, note, &told_);
    }

private:
    void load_seed()
    {
        server.ask("SELECT 2");
        server.load(terminal_.path("/seed"));
    }

    static bool is_live()
    {
        const auto& store = static_cast<host::RedisStore&>(*host::instance().store);
        return store.state() == host::RedisStore::State::live;
    }

    // Lets so much time of the terminal pass at each look.
    template <typename Done>
    static void run_until(std::uint64_t milliseconds, Done done)
    {
        const std::uint64_t end = host::machine_us() + 10'000'000;
        while (!done() && host::machine_us() < end)
            host::instance().loop->run_for(milliseconds);
        EXPECT_TRUE(done()) << "within 10 s";
    }

    void ask(const Changes& changes)
    {
        for (const auto& [key, value] : changes) {
            written_[key] = value;
            if (value)
                server.ask("SET %s %s", key.c_str(), value->c_str());
            else
                server.ask("DEL %s", key.c_str());
        }
    }

    // Until the daemon has been told of the marker, twice: what stands below a followed key comes
    // behind what is followed itself.
    std::string others_write(const Changes& changes) override
    {
        terminal_.story();
        ask(changes);
        run_until(50, is_live);
        for (int i = 0; i < 2; ++i) {
            server.ask("SET %s %d", marker, ++sent_);
            run_until(0, [this] { return told_ == sent_; });
        }
        return terminal_.story();
    }

    void lose_database() override
    {
        const Manager manager(terminal_.path("/notify" + std::to_string(++losses_)));
        const bool is_gone = once_in(2);
        terminal_.story();
        if (is_gone)
            server.kill();
        else
            server.ask("CLIENT KILL TYPE %s", once_in(2) ? "normal" : "pubsub");
        run_until(0, [] { return !is_live(); });
        judge(terminal_.story());
        EXPECT_NE(manager.heard().find("STATUS=NOT PROTECTED: the database is away "),
                  std::string::npos);
        if (is_gone) {
            judge(terminal_.run(1000 * static_cast<std::uint64_t>(any(1, 4000))));
            server.start(settings);
            load_seed();
            for (const auto& [key, value] : written_)
                ask({{key, value}});
        }
        judge(others_write(changed_meanwhile()));
    }

    // The server has what the daemon thinks that it has; what was sent may be on its way.
    void compare_database() override
    {
        std::string differs = "at first";
        for (int look = 0; look < 1000 && !differs.empty(); ++look, poll(nullptr, 0, 1)) {
            differs.clear();
            for (const auto* const key :
                 {key::close_connections, key::limit_background, key::usb_extended_held,
                  key::poe_held, key::power_off, key::usb_status, key::usb_extended_status}) {
                const std::string here = terminal_.value(key);
                if (server.ask("GET %s", key) != (here == "-" ? "" : here))
                    differs.append(key).append(" ");
            }
        }
        EXPECT_EQ(differs, "");
        others_write({}); // so that all that was asked has been answered
    }

    std::size_t on_its_way() const override { return 32768; }

    std::map<std::string, std::optional<std::string>> written_; // by others
    int sent_ = 0;
    int told_ = 0;
};

TEST(ProofYearWithRedis, OfTheBattery)
{
    SharedLife(policies().front()).live();
}

TEST(ProofYearWithRedis, OfTheTwoUnits)
{
    SharedLife(policies().back()).live();
}

} // namespace
} // namespace proof
