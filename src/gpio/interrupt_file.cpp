// SPDX-License-Identifier: MIT
#include "gpio/interrupt_file.h"

#include <array>
#include <cerrno>
#include <string_view>

#include "ap/log.h"
#include "base/device_file.h"

namespace {

// Index: IInterruptFile::edge_t.
constexpr std::array<std::string_view, 4> edge_texts = {"none", "rising", "falling", "both"};

} // namespace

InterruptFile::InterruptFile(unsigned int number, Handler* theHandler)
    : Gpio(number), handler(theHandler), fdloop(nullptr)
{
}

InterruptFile::~InterruptFile()
{
    InterruptFile::uninitialize();
}

void InterruptFile::initialize(_fdloop_t* loop)
{
    if (loop == nullptr) {
        qv_slog(3, "InterruptFile: attempting to initialize with nullptr as fdloop");
        return;
    }
    if (fdloop != nullptr) {
        qv_slog(3, "InterruptFile: attempting to initialize while already initialized.");
        return;
    }
    fdloop = loop;
    Gpio::initialize(DIR_IN);
    triggerOnEdge(EDGE_FALLING);
    clear(); // a fresh value file shows a change: only later edges are to wake the loop
    error = -fdloop_fd_register_except(fdloop, getFd(), fdloopCallback, this);
    watched = error == 0;
}

void InterruptFile::uninitialize()
{
    if (fdloop == nullptr)
        return;
    fdloop_fd_unregister_except(fdloop, getFd());
    watched = false;
    Gpio::uninitialize();
    fdloop = nullptr;
}

void InterruptFile::triggerOnEdge(edge_t edge) const
{
    if (directory().empty())
        return;
    const std::string name = directory() + "/edge";
    const auto index = static_cast<std::size_t>(edge);
    power_man::write_device_file(name.c_str(), index < edge_texts.size() ? edge_texts[index] : "");
}

void InterruptFile::clear()
{
    getValue();
}

void InterruptFile::endWatch()
{
    qv_slog(3, "GPIO %u was taken away by somebody else: it is not watched any more\n",
            getGpioNumber());
    fdloop_fd_unregister_except(fdloop, getFd());
    watched = false;
    error = ENODEV;
}

int InterruptFile::fdloopCallback(int fd, void* context)
{
    auto* const line = static_cast<InterruptFile*>(context);
    if (fd != line->getFd())
        return 0;
    line->clear();
    if (line->isGone()) {
        line->endWatch();
        return 0;
    }
    if (line->handler != nullptr)
        line->handler->handleInterrupt(line->getGpioNumber());
    return 0;
}
