// SPDX-License-Identifier: MIT
#include "usb/over_current_watch.h"

#include <cstring>
#include <exception>
#include <memory>

#include "ap/log.h"
#include "base/terminal.h"
#include "gpio/interrupt_file.h"
#include "usb/usb_fault_handler.h"
#include "usb/usb_power.h"

UsbFaultHandler* usb_fault_handler = nullptr;

namespace power_man {
namespace {

struct OverCurrentWatch {
    UsbFaultHandler handler; // outlives the lines: its timer may be running
    std::unique_ptr<InterruptFile> line;
};

// Never destroyed: the loop calls it until its end, and a daemon that ends leaves its lines alone.
OverCurrentWatch& over_current_watch()
{
    static OverCurrentWatch& watch = *std::make_unique<OverCurrentWatch>().release();
    return watch;
}

void report_failure(unsigned int gpio, const char* reason)
{
    static bool reported = false;
    if (reason != nullptr && !reported)
        qv_slog(3, "USB over-current on GPIO %u is not watched: %s\n", gpio, reason);
    reported = reason != nullptr;
}

} // namespace

void watch_over_current(unsigned int gpio)
{
    auto& [handler, line] = over_current_watch();
    if (usb_fault_handler != nullptr && usb_fault_handler != &handler)
        return; // somebody else's
    if (line != nullptr && line->isWatched() && line->isCurrent())
        return;
    line.reset(); // gives back what it has exported, before the new one exports it
    line = std::make_unique<InterruptFile>(gpio, &handler);
    try {
        line->initialize(main_fdloop);
    } catch (const std::exception& failure) {
        report_failure(gpio, failure.what());
        line.reset();
        return;
    }
    usb_fault_handler = &handler;
    report_failure(gpio, line->isWatched() ? nullptr : std::strerror(line->watchError()));
}

} // namespace power_man
