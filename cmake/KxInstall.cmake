# cmake --install: library, headers, tool, the package for find_package(kxbase) and the pkg-config file.
include(CMakePackageConfigHelpers)

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/kxbase)

install(TARGETS kxbase EXPORT kxbaseTargets)
install(DIRECTORY source/kxbase DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h" PATTERN posix EXCLUDE PATTERN windows EXCLUDE)
install(EXPORT kxbaseTargets NAMESPACE kxbase:: DESTINATION ${package_folder})

configure_package_config_file(cmake/kxbaseConfig.cmake.in ${PROJECT_BINARY_DIR}/kxbaseConfig.cmake
                              INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kxbaseConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kxbaseConfig.cmake ${PROJECT_BINARY_DIR}/kxbaseConfigVersion.cmake
        DESTINATION ${package_folder})

# What a static library needs from its users, as pkg-config writes it.
set(KX_PC_LIBRARIES "-pthread")
get_target_property(links kxbase LINK_LIBRARIES)
foreach(link IN LISTS links)
    if(link MATCHES "^[A-Za-z0-9_+-]+$")
        string(APPEND KX_PC_LIBRARIES " -l${link}")
    endif()
endforeach()
if(KX_SANITIZE)
    string(APPEND KX_PC_LIBRARIES " -fsanitize=${KX_SANITIZE}")
endif()
file(RELATIVE_PATH KX_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/kxbase.pc.in ${PROJECT_BINARY_DIR}/kxbase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kxbase.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
