# SPDX-License-Identifier: MIT
# What the terminal's other daemons are built with (`cmake --install --component libpower-bite-dev`):
# the clients as a static library, the platform interface, its host implementation for a desk.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(component COMPONENT libpower-bite-dev)
set(include_dir ${CMAKE_INSTALL_INCLUDEDIR}/power_bite)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/power_bite)

# Machine code beside what this compiler's link-time optimiser reads: who links may have another one.
if(POWER_MAN_SMALL AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(power_bite PRIVATE -ffat-lto-objects)
    target_compile_options(ap_host PRIVATE -ffat-lto-objects)
endif()

install(TARGETS power_bite ap_host ap_interface EXPORT power_bite
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} ${component}
    INCLUDES DESTINATION ${include_dir})

# Below their own directory, by the names by which they are included here.
install(DIRECTORY src/platform/include/ap DESTINATION ${include_dir} ${component})
foreach(header
    bite/bite_api.h bite/bite.h bite/bite_ids.h bite/bite_rec.h bite/cm_event_rec.h
    bite/event_api.h bite/hnd_api.h bite/past_api.h bite/post_api.h bite/self_test_client.h
    bite/self_test_rec.h event_handler/event_client.h event_handler/event_db.h)
    cmake_path(GET header PARENT_PATH folder)
    install(FILES src/${header} DESTINATION ${include_dir}/${folder} ${component})
endforeach()

install(EXPORT power_bite NAMESPACE power_bite:: FILE power_bite-targets.cmake
    DESTINATION ${package_dir} ${component})
write_basic_package_version_file(power_bite-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES packaging/power_bite/power_bite-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/power_bite-config-version.cmake
    DESTINATION ${package_dir} ${component})

# These follow the prefix, which `cmake --install --prefix` may still change.
install(CODE "
    cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_PREFIX NORMALIZE OUTPUT_VARIABLE prefix)
    set(version \"${PROJECT_VERSION}\")
    set(libdir \"${CMAKE_INSTALL_LIBDIR}\")
    set(includedir \"${include_dir}\")
    foreach(name power_bite ap_host)
        set(made \"${CMAKE_CURRENT_BINARY_DIR}/installed/\${name}.pc\")
        configure_file(\"${CMAKE_CURRENT_SOURCE_DIR}/packaging/power_bite/\${name}.pc.in\" \"\${made}\"
            @ONLY)
        file(INSTALL \"\${made}\" DESTINATION \"\${prefix}/\${libdir}/pkgconfig\")
    endforeach()" ${component})

install(DIRECTORY share/examples/clock_daemon
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libpower-bite-dev/examples ${component})
