# SPDX-License-Identifier: MIT
# `cmake --install`, and the Debian package (`cpack` in the build folder).
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

# The bill of materials names what the program is linked with, in the versions found here.
function(add_library_to_bom package)
    execute_process(COMMAND dpkg-query -W -f "\${Version}" ${package}
        OUTPUT_VARIABLE version ERROR_QUIET RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        return()
    endif()
    list(APPEND bom_components "    {
      \"type\": \"library\",
      \"bom-ref\": \"pkg:deb/debian/${package}@${version}\",
      \"name\": \"${package}\",
      \"version\": \"${version}\",
      \"purl\": \"pkg:deb/debian/${package}@${version}\"
    }")
    list(APPEND bom_references "        \"pkg:deb/debian/${package}@${version}\"")
    set(bom_components "${bom_components}" PARENT_SCOPE)
    set(bom_references "${bom_references}" PARENT_SCOPE)
endfunction()

foreach(package libc6 libstdc++6 libgcc-s1)
    add_library_to_bom(${package})
endforeach()
string(JOIN ",\n" bom_components ${bom_components})
string(JOIN ",\n" bom_references ${bom_references})
configure_file(packaging/bom.json.in power_man.cdx.json @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/power_man.cdx.json DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME power-man)
set(CPACK_PACKAGE_CONTACT "The power_man authors <power_man@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Power management of a communication terminal")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "redis-server, telnet")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/conffiles
    ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/prerm)
include(CPack)
