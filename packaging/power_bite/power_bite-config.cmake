# SPDX-License-Identifier: MIT
include("${CMAKE_CURRENT_LIST_DIR}/power_bite-targets.cmake")

# Both are written in C++. A project without that language links as C, and is not given its library.
if(NOT CMAKE_CXX_COMPILER_LOADED)
    set_property(TARGET power_bite::power_bite power_bite::ap_host
        APPEND PROPERTY INTERFACE_LINK_LIBRARIES stdc++)
endif()
