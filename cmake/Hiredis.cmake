# SPDX-License-Identifier: MIT
# The client library by which the tests and benchmarks play the terminal's other daemons: the target
# `hiredis`, where POWER_MAN_REDIS is on and the library is there. The daemon has a client of its own.
find_path(POWER_MAN_HIREDIS_INCLUDE_DIR hiredis/hiredis.h)
find_library(POWER_MAN_HIREDIS_LIBRARY hiredis)
mark_as_advanced(POWER_MAN_HIREDIS_INCLUDE_DIR POWER_MAN_HIREDIS_LIBRARY)
if(POWER_MAN_REDIS AND POWER_MAN_HIREDIS_INCLUDE_DIR AND POWER_MAN_HIREDIS_LIBRARY)
    add_library(hiredis INTERFACE)
    target_include_directories(hiredis SYSTEM INTERFACE ${POWER_MAN_HIREDIS_INCLUDE_DIR})
    target_link_libraries(hiredis INTERFACE ${POWER_MAN_HIREDIS_LIBRARY})
elseif(POWER_MAN_REDIS AND NOT CMAKE_CROSSCOMPILING)
    message(WARNING "There is no hiredis: what is tested and measured with a shared database is left "
        "out")
endif()
