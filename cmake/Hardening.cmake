# SPDX-License-Identifier: MIT
# Warnings, hardening and sanitizers, as the target `power_man_options`. Hardening flags differ
# between compilers: each is tried, and the ones that are refused are left out. Warnings are errors
# in the presets only (CMAKE_COMPILE_WARNING_AS_ERROR): another compiler has others.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

add_library(power_man_options INTERFACE)
target_compile_options(power_man_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wnon-virtual-dtor>)
# At -O3, GCC 12 finds an overlap in `"text" + std::string(...)` that cannot be (its bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(power_man_options INTERFACE -Wno-restrict)
endif()

# add_if_accepted(compile|link FLAG [WHEN]): WHEN is a generator expression.
function(add_if_accepted kind flag)
    set(when 1)
    if(ARGC GREATER 2)
        set(when ${ARGV2})
    endif()
    string(MAKE_C_IDENTIFIER "power_man_accepts_${flag}" variable)
    if(kind STREQUAL "compile")
        check_cxx_compiler_flag("-Werror ${flag}" ${variable})
    else()
        check_linker_flag(CXX "${flag}" ${variable})
    endif()
    if(${variable})
        target_compile_options(power_man_options INTERFACE
            $<$<AND:$<STREQUAL:${kind},compile>,${when}>:${flag}>)
        target_link_options(power_man_options INTERFACE $<$<STREQUAL:${kind},link>:${flag}>)
    endif()
endfunction()

if(POWER_MAN_SANITIZE)
    target_compile_options(power_man_options INTERFACE
        -fsanitize=${POWER_MAN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(power_man_options INTERFACE -fsanitize=${POWER_MAN_SANITIZE})
else()
    foreach(flag
        -fstack-protector-strong -fstack-clash-protection -fcf-protection
        -fstrict-flex-arrays=3 -fzero-init-padding-bits=all)
        add_if_accepted(compile ${flag})
    endforeach()
    # The C library's checks need an optimising compiler, and warn without one.
    set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
    add_if_accepted(compile -U_FORTIFY_SOURCE ${optimised})
    add_if_accepted(compile -D_FORTIFY_SOURCE=3 ${optimised})
    foreach(flag -pie -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,-z,nodlopen -Wl,--as-needed)
        add_if_accepted(link ${flag})
    endforeach()
endif()
target_compile_definitions(power_man_options INTERFACE _GLIBCXX_ASSERTIONS)

# On 32-bit machines the C library's time ends in 2038, and so does every call that returns it,
# unless it is asked for the 64-bit one.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    target_compile_definitions(power_man_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
    add_if_accepted(compile -Wno-psabi) # notes on calls between objects of GCC 6 and later ones
endif()
