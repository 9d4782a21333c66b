// SPDX-License-Identifier: MIT
// The environment: what cannot be used is refused in one line that any terminal can show.
//
// Code: src/platform/host/host/settings.cpp src/platform/host/base/endpoint.cpp
// src/platform/host/log/trace_groups.cpp
#include <dlfcn.h>
#include <netdb.h>
#include <unistd.h>

#include "fuzz.h"
#include "host/base/endpoint.h"
#include "host/base/printable.h"
#include "host/log/trace_groups.h"

using fuzz::require;

// Without the network: no name is looked up.
extern "C" int getaddrinfo(const char* name, const char* port, const addrinfo* wanted,
                           addrinfo** found)
{
    static const auto real = reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, __func__));
    addrinfo numeric = *wanted;
    numeric.ai_flags |= AI_NUMERICHOST;
    return real(name, port, &numeric, found);
}

namespace {

void require_told(bool refused, const std::string& error)
{
    require(refused == !error.empty());
    require(std::all_of(error.begin(), error.end(), host::is_printable));
}

} // namespace

// Variables as in a process's environment, each ended by a NUL; "AP_" is put before them.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string> variables;
    for (fuzz::Input input(data, size); !input.rest.empty();)
        variables.push_back("AP_" + std::string(input.text('\0')));
    std::vector<char*> entries;
    for (std::string& variable : variables)
        entries.push_back(variable.data());
    entries.push_back(nullptr);
    char** const own = std::exchange(environ, entries.data());
    std::string error;
    const auto settings = host::Settings::from_environment(error);
    environ = own;
    require_told(!settings, error);
    if (!settings)
        return 0;
    require(settings->console_port >= 0 && settings->console_port <= 65535);
    require(settings->log_level >= 0 && settings->log_level <= 7);
    host::TraceGroups groups;
    const bool switched = groups.enable(settings->trace, error);
    require_told(!switched, error);
    error.clear();
    const bool none = host::find_endpoints(settings->database, error).empty();
    require_told(none, error);
    return 0;
}
