// SPDX-License-Identifier: MIT
#pragma once

#include "ap/loop.h"
#include "gpio/gpio.h"

// A line whose edges wake the daemon.
class IInterruptFile {
public:
    enum edge_t : unsigned int { EDGE_NONE = 0, EDGE_RISING = 1, EDGE_FALLING = 2, EDGE_BOTH = 3 };

    // Told of every interrupt, from the loop.
    class Handler {
    public:
        virtual ~Handler() = default;
        virtual void handleInterrupt(unsigned int gpioNumber) = 0;
    };

    virtual ~IInterruptFile() = default;
    virtual void initialize(_fdloop_t* loop) = 0;
    virtual void uninitialize() = 0;
    virtual void triggerOnEdge(edge_t edge) const = 0;
};

// An input line of the kernel's sysfs GPIO interface that calls its handler on falling edges
// (another edge can be chosen once it is initialized). Edges that come before the callback has
// read the line count as one.
class InterruptFile : public Gpio, public IInterruptFile {
public:
    // `handler` may be null; it stays the caller's and must outlive this object.
    InterruptFile(unsigned int gpioNumber, Handler* handler);
    InterruptFile(const InterruptFile&) = delete; // the loop calls this very object
    InterruptFile& operator=(const InterruptFile&) = delete;
    ~InterruptFile() override;

    // Opens the line and registers it with the loop, which must outlive this object. A null
    // loop and a second call are refused with a log line. Throws std::runtime_error when the
    // line's value file cannot be opened; nothing is registered then. What the loop says is left
    // for the caller to look at: isWatched().
    using Gpio::initialize;
    void initialize(_fdloop_t* loop) override;

    void uninitialize() override;
    void triggerOnEdge(edge_t edge) const override;

    // True while the loop watches the line; otherwise the errno of the attempt is below. The watch
    // ends of itself, with a line in the log, when somebody else takes the line away: such a line
    // would call for ever.
    bool isWatched() const { return watched; }
    int watchError() const { return error; }

    // Reads the line, which re-arms the kernel's notification.
    void clear();

    // What the loop calls; `context` is the InterruptFile.
    static int fdloopCallback(int fd, void* context);

private:
    void endWatch();

    Handler* handler;
    _fdloop_t* fdloop;
    bool watched = false;
    int error = 0;
};
