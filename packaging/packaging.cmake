# SPDX-License-Identifier: MIT
# `cmake --install`. The Debian packages are made from it, see debian/.
include(GNUInstallDirs)

install(TARGETS power_man DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(FILES packaging/power_man.socket DESTINATION lib/systemd/system)

# The unit, the man page and the settings follow the prefix, which `cmake --install --prefix` may
# still change. The system's own settings lie in /etc; below another prefix nothing is written
# outside it.
install(CODE "
    set(settings \${CMAKE_INSTALL_PREFIX}/etc/default)
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
        set(settings /etc/default)
    endif()
    cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX NORMALIZE OUTPUT_VARIABLE prefix)
    cmake_path(APPEND prefix \"${CMAKE_INSTALL_SBINDIR}\" OUTPUT_VARIABLE sbin)
    cmake_path(APPEND prefix \"${CMAKE_INSTALL_MANDIR}/man8\" OUTPUT_VARIABLE man)
    set(PROJECT_VERSION ${PROJECT_VERSION})
    set(source \"${CMAKE_CURRENT_SOURCE_DIR}/packaging\")
    set(made \"${CMAKE_CURRENT_BINARY_DIR}/installed\")
    configure_file(\${source}/power_man.service.in \${made}/power_man.service @ONLY)
    configure_file(\${source}/power_man.8.in \${made}/power_man.8 @ONLY)
    configure_file(\${source}/power_man.default \${made}/power_man COPYONLY)
    file(INSTALL \"\${made}/power_man.service\" DESTINATION \"\${prefix}/lib/systemd/system\")
    file(INSTALL \"\${made}/power_man.8\" DESTINATION \"\${man}\")
    file(INSTALL \"\${made}/power_man\" DESTINATION \"\${settings}\")")
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME copyright)
