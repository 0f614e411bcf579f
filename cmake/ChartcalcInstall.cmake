# cmake --install: the shared library (with its SONAME), the public headers,
# a CMake package (find_package(chartcalc CONFIG) -> chartcalc::chartcalc)
# and a pkg-config file (chartcalc.pc). The tool and its data install from
# tools/CMakeLists.txt.
include(CMakePackageConfigHelpers)

set(CHARTCALC_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/chartcalc)

install(TARGETS chartcalc EXPORT chartcalcTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(EXPORT chartcalcTargets NAMESPACE chartcalc:: DESTINATION ${CHARTCALC_CMAKE_DIR})

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/chartcalcConfig.cmake.in
  ${PROJECT_BINARY_DIR}/chartcalcConfig.cmake INSTALL_DESTINATION ${CHARTCALC_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/chartcalcConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/chartcalcConfig.cmake ${PROJECT_BINARY_DIR}/chartcalcConfigVersion.cmake
  DESTINATION ${CHARTCALC_CMAKE_DIR})

# The .pc file finds its prefix from where it lies, so that
# "cmake --install --prefix P" gives a correct file for any P.
file(RELATIVE_PATH CHARTCALC_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${PROJECT_SOURCE_DIR}/cmake/chartcalc.pc.in ${PROJECT_BINARY_DIR}/chartcalc.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/chartcalc.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
