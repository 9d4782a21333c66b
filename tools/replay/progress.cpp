// SPDX-License-Identifier: MIT
#include "progress.h"

#include <unistd.h>

#include <cstdio>

#include "host/base/clock.h"
#include "moment.h"

namespace replay {
namespace {

constexpr std::uint64_t first_us = 1'000'000;
constexpr std::uint64_t period_us = 250'000;
constexpr const char* clear_line = "\r\x1b[K";

} // namespace

Progress::Progress(const Bytes& bytes, std::int64_t begin_ms)
    : bytes_(bytes), begin_ms_(begin_ms), wanted_(isatty(STDERR_FILENO) == 1),
      next_us_(host::machine_us() + first_us)
{
}

Progress::~Progress()
{
    if (shown_)
        std::fputs(clear_line, stderr);
}

void Progress::show(std::int64_t moment_ms)
{
    const std::uint64_t now = host::machine_us();
    if (now < next_us_)
        return;
    next_us_ = now + period_us;
    shown_ = true;
    std::fprintf(stderr, "%s%s", clear_line, moment_text(moment_ms).c_str());
    if (bytes_.size() > 0)
        std::fprintf(stderr, "  %d %%", static_cast<int>(100 * bytes_.position() / bytes_.size()));
}

} // namespace replay
