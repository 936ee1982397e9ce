# Installation: headers, library, CMake package and pkg-config file.
install(TARGETS orvelvis EXPORT OrvelVisTargets FILE_SET HEADERS)
install(EXPORT OrvelVisTargets NAMESPACE Orvel:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/OrvelVis)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OrvelVisConfig.cmake.in
    ${PROJECT_BINARY_DIR}/OrvelVisConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/OrvelVis)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvelVisConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrvelVisConfig.cmake ${PROJECT_BINARY_DIR}/OrvelVisConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/OrvelVis)

# A static library leaves its own dependencies to whoever links it.
if(ORVEL_BUILD_STATIC)
    set(ORVEL_PC_REQUIRES "tbb, libhwy")
else()
    set(ORVEL_PC_REQUIRES "tbb")
endif()
# Relative to the file itself, so that an installed tree may be moved.
file(RELATIVE_PATH ORVEL_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(${PROJECT_SOURCE_DIR}/cmake/orvelvis.pc.in ${PROJECT_BINARY_DIR}/orvelvis.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvelvis.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
