// SPDX-License-Identifier: MIT
#pragma once

#include "event_handler/event_client.h"
#include "gpio/interrupt_file.h"

// The event that a USB over-current raises, to be registered at start-up.
extern const EventDefinition usb_event_definition;

// Reacts to a USB over-current: each falling edge of its line is one.
//
//            edge: raise the event          1 s: cycle the power
//     idle --------------------> waiting ------------------------> watching
//       ^                           ^                               |    |
//       |                           +--------- edge ----------------+    |
//       +----------------- 1 s without an edge: clear the event ---------+
//
// Edges while waiting change nothing, so the power is cycled one second after the first edge of
// a burst. A short that persists has its power cycled every second until it is gone; the event
// stays raised meanwhile.
class UsbFaultHandler : public IInterruptFile::Handler {
public:
    void handleInterrupt(unsigned int gpioNumber) override;

    // From the first edge until the line has been quiet.
    bool in_fault() const { return faultState != idle; }

    // What the loop's timer calls; `context` is the UsbFaultHandler.
    static int fdLoopTimeoutHandler(void* context);

private:
    enum State : int { idle = 0, waiting = 1, watching = 2 };

    void armTimer();
    void startTimer();

    int faultState = idle;
    bool timerActive = false;
    int timerId = 0;
};
