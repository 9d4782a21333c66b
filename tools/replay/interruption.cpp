// SPDX-License-Identifier: MIT
#include "interruption.h"

#include <csignal>
#include <initializer_list>

namespace replay {
namespace {

volatile std::sig_atomic_t noted = 0;

void note(int signal)
{
    noted = signal;
}

} // namespace

void note_interruptions()
{
    struct sigaction action {};
    action.sa_handler = note;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        struct sigaction before {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

int interruption()
{
    return noted;
}

} // namespace replay
