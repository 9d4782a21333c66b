// SPDX-License-Identifier: MIT
#include "usb/usb_fault_handler.h"

#include "ap/loop.h"
#include "base/terminal.h"
#include "event_handler/event_source.h"
#include "usb/usb_pins.h"

const EventDefinition usb_event_definition = {0x10400, 1, "USB short circuit"};

namespace {

constexpr unsigned int quiet_time_ms = 1000; // of waiting, and of watching

} // namespace

void UsbFaultHandler::startTimer()
{
    timerId = fdloop_timer_add(main_fdloop, quiet_time_ms, fdLoopTimeoutHandler, this);
    timerActive = true;
}

void UsbFaultHandler::armTimer()
{
    if (timerActive)
        fdloop_timer_set_interval(timerId, quiet_time_ms);
    else
        startTimer();
}

void UsbFaultHandler::handleInterrupt(unsigned int)
{
    if (faultState == waiting)
        return;
    const bool first = faultState == idle;
    faultState = waiting;
    if (first)
        power_man::report_event(usb_event_definition.id, EV_STATE_RAISED);
    armTimer();
}

int UsbFaultHandler::fdLoopTimeoutHandler(void* context)
{
    auto* const self = static_cast<UsbFaultHandler*>(context);
    self->timerActive = false;
    if (self->faultState == waiting) {
        self->faultState = watching;
        self->startTimer(); // before the power: its second begins now
        power_man::set_usb_pins(0, 0);
        power_man::set_usb_pins(1, 0);
    } else if (self->faultState == watching) {
        self->faultState = idle;
        power_man::report_event(usb_event_definition.id, EV_STATE_CLEARED);
    }
    return 0;
}
