# SPDX-License-Identifier: MIT
# Whether the shared database is built: POWER_MAN_REDIS becomes `have_redis`.
set(have_redis OFF)
if(NOT POWER_MAN_REDIS MATCHES "^(ON|AUTO|OFF)$")
    message(FATAL_ERROR "POWER_MAN_REDIS is '${POWER_MAN_REDIS}': it can be ON, AUTO or OFF")
endif()
if(POWER_MAN_REDIS STREQUAL "OFF")
    return()
endif()

find_path(POWER_MAN_HIREDIS_INCLUDE_DIR hiredis/hiredis.h)
find_library(POWER_MAN_HIREDIS_LIBRARY hiredis)
mark_as_advanced(POWER_MAN_HIREDIS_INCLUDE_DIR POWER_MAN_HIREDIS_LIBRARY)
if(POWER_MAN_HIREDIS_INCLUDE_DIR AND POWER_MAN_HIREDIS_LIBRARY)
    set(have_redis ON)
elseif(POWER_MAN_REDIS STREQUAL "ON")
    message(FATAL_ERROR "POWER_MAN_REDIS is ON, but there is no hiredis "
        "(its header hiredis/hiredis.h and its library)")
else()
    message(WARNING "There is no hiredis: the daemon is built without the shared database. "
        "POWER_MAN_REDIS=OFF says that this is meant")
endif()
