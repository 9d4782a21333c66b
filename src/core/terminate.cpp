// SPDX-License-Identifier: MIT
// What the runtime library calls for an exception that nobody caught. Its own version prints the
// type as C++ writes it, and brings 29 kB of demangler into a program without shared libraries;
// this one prints the type's name as the linker has it.
#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <typeinfo>

namespace __gnu_cxx {

void __verbose_terminate_handler()
{
    const std::type_info* const type = abi::__cxa_current_exception_type();
    std::fprintf(stderr, "power_man: terminated by %s\n",
                 type != nullptr ? type->name() : "a call, without an exception");
    std::abort();
}

} // namespace __gnu_cxx
