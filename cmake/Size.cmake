# SPDX-License-Identifier: MIT
# What makes the daemon small (POWER_MAN_SMALL) and independent of the root file system
# (POWER_MAN_STATIC). Both go into the target `power_man_options`.
if(POWER_MAN_SMALL)
    set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
    target_compile_options(power_man_options INTERFACE -ffunction-sections -fdata-sections)
    target_link_options(power_man_options INTERFACE -Wl,--gc-sections -s)
endif()

if(POWER_MAN_STATIC)
    check_linker_flag(CXX -static-pie power_man_accepts_static_pie) # not every C library has its start code
    if(power_man_accepts_static_pie)
        target_link_options(power_man_options INTERFACE -static-pie)
    else()
        set(CMAKE_POSITION_INDEPENDENT_CODE OFF)
        target_link_options(power_man_options INTERFACE -static -no-pie)
    endif()
endif()
