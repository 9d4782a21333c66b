// SPDX-License-Identifier: MIT
// The daemon as it runs on a qv1202B, on a board without a single device file.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "ap/config.h"
#include "ap/loop.h"
#include "base/config_keys.h"
#include "base/terminal.h"
#include "core/pwr_mgr_main.h"
#include "host/base/clock.h"
#include "host/config/configuration.h"
#include "host/host/host.h"
#include "temperature/temp_desc.h"

namespace {

namespace key = power_man::key;

constexpr std::size_t radio_module = 1; // its sensor's number

constexpr int normal = 20; // degrees Celsius
constexpr int one_up = 72;
constexpr int three_up = 90;

// The daemon's state is the process's: made once, for all benchmarks.
class Daemon {
public:
    static Daemon& instance()
    {
        static Daemon daemon;
        return daemon;
    }
    ~Daemon()
    {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }

    // From the write to the end of its delivery.
    static void write(int temperature)
    {
        config_write_int(key::mainboard_temperature, temperature);
        host::instance().loop->run_for(0);
    }
    static std::int32_t interval() { return temp_mon_rec[radio_module].intv; }

private:
    Daemon()
    {
        if (mkdtemp(root_.data()) == nullptr)
            std::abort();
        setenv("AP_BOARD_ROOT", root_.c_str(), 1);
        setenv("AP_LOG_LEVEL", "0", 1);
        host::instance().clock.make_virtual();
        pwr_mgr_poe = new PwrMgrPoe; // live as long as the process
        pwr_mgr_phone = new PwrMgrPhone;
        tg_pwr_man = qv_xtrace_init("pwr_man", "C:\tCommon\nD:\tDetailed trace\n", 4);
        main_fdloop = fdloop_init();
        host::instance().configuration.connect(); // for the keys that stand before the start
        config_write_string("ram.platform.id", "qv1202B");
        config_write_int(key::external_supply, 1);
        config_write_int(key::mainboard_temperature, normal);
        pwr_mgr_init();
        host::instance().loop->run_for(0);
    }

    std::string root_ = (std::filesystem::temp_directory_path() / "power_man_XXXXXX").string();
};

void temperature_moves_nothing(benchmark::State& state)
{
    Daemon& daemon = Daemon::instance();
    int temperature = normal;
    for (auto _ : state) {
        temperature ^= 1;
        daemon.write(temperature);
    }
    if (daemon.interval() != 1 || temp_mon_rec[radio_module].temp != temperature)
        state.SkipWithError("not evaluated");
}
BENCHMARK(temperature_moves_nothing);

// Up and back again.
void cross_and_return(benchmark::State& state, int temperature, std::int32_t interval)
{
    Daemon& daemon = Daemon::instance();
    for (auto _ : state) {
        daemon.write(temperature);
        if (daemon.interval() != interval) {
            state.SkipWithError("not crossed");
            break;
        }
        daemon.write(normal);
    }
    if (daemon.interval() != 1)
        state.SkipWithError("not back");
}
BENCHMARK_CAPTURE(cross_and_return, one_boundary, one_up, 2);
BENCHMARK_CAPTURE(cross_and_return, three_boundaries, three_up, 4);

// Keys that were written together, all of them followed by one callback.
void batch_of_changed_keys(benchmark::State& state)
{
    Daemon::instance();
    std::int64_t changes = 0;
    const auto count = [](unsigned int records, const config_data_t*, void* user) {
        *static_cast<std::int64_t*>(user) += records;
    };
    std::vector<std::string> keys;
    for (std::int64_t i = 0; i < state.range(0); ++i)
        keys.push_back("bench.key." + std::to_string(i));
    std::vector<host::Write> writes;
    for (const std::string& name : keys)
        writes.push_back({name, "12345"});
    config_change_register("bench", count, &changes);
    for (auto _ : state) {
        host::instance().configuration.write(writes);
        host::instance().loop->run_for(0);
    }
    config_change_deregister("bench", count, &changes);
    if (changes != state.iterations() * state.range(0))
        state.SkipWithError("changes were lost");
}
BENCHMARK(batch_of_changed_keys)->Arg(1000);

} // namespace
