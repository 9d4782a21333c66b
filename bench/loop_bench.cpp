// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <sys/eventfd.h>

#include <cstdint>

#include "ap/loop.h"
#include "host/base/clock.h"
#include "host/base/descriptor.h"
#include "host/loop/loop.h"

namespace {

// A loop whose callbacks end it: run() is one turn then.
struct OneTurn {
    OneTurn() { clock.make_virtual(); }

    static int called(void* user)
    {
        auto& self = *static_cast<OneTurn*>(user);
        ++self.calls;
        self.loop->stop();
        return 0;
    }
    static int ready(int, void* user) { return called(user); }

    host::Clock clock;
    host::Journal journal{clock};
    host::Log log{journal};
    std::unique_ptr<_fdloop_t> loop = _fdloop_t::create(clock, log);
    std::int64_t calls = 0;
};

void dispatch_one_ready_descriptor(benchmark::State& state)
{
    OneTurn one;
    const host::Descriptor source(eventfd(1, EFD_CLOEXEC)); // nobody reads it: always ready
    if (one.loop->add(source.get(), host::Condition::input, OneTurn::ready, &one) != 0)
        state.SkipWithError("the descriptor is refused");
    for (auto _ : state)
        one.loop->run();
    if (one.calls != state.iterations())
        state.SkipWithError("calls were lost");
}
BENCHMARK(dispatch_one_ready_descriptor);

// A timer that is due at once, among others that are pending for hours.
void add_and_fire_timer(benchmark::State& state)
{
    OneTurn one;
    constexpr std::uint64_t hours_ms = 10U * 3600U * 1000U;
    for (std::int64_t i = 0; i < state.range(0); ++i)
        one.loop->add_timer(hours_ms + static_cast<std::uint64_t>(i), OneTurn::called, &one);
    for (auto _ : state) {
        one.loop->add_timer(0, OneTurn::called, &one);
        one.loop->run();
    }
    if (one.calls != state.iterations())
        state.SkipWithError("timers were lost");
}
BENCHMARK(add_and_fire_timer)->Arg(10)->Arg(10000);

} // namespace
