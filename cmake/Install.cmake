# Installation: the shared library, the public headers flat in
# include/DataProcess, a CMake package (DataProcess::DataProcess) and a
# pkg-config file (dataprocess.pc).
include(CMakePackageConfigHelpers)

get_property(_dp_headers GLOBAL PROPERTY DP_PUBLIC_HEADERS)
install(FILES ${_dp_headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/DataProcess)

install(TARGETS DataProcess DataProcessHeaders
        EXPORT DataProcessTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(EXPORT DataProcessTargets NAMESPACE DataProcess:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/DataProcess)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/DataProcessConfig.cmake.in
  ${CMAKE_BINARY_DIR}/DataProcessConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/DataProcess)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/DataProcessConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/DataProcessConfig.cmake ${CMAKE_BINARY_DIR}/DataProcessConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/DataProcess)

# With the high-quality resampler the library links libsoxr: declared for
# static linking and for tools that read the dependency list.
set(DP_PC_REQUIRES_PRIVATE "")
if(DP_HAVE_SOXR)
  set(DP_PC_REQUIRES_PRIVATE "Requires.private: soxr")
endif()
# The .pc file finds its prefix relative to itself, so the package works
# wherever `cmake --install --prefix` puts it.
file(RELATIVE_PATH DP_PC_UP /x/${CMAKE_INSTALL_LIBDIR}/pkgconfig /x)
configure_file(${CMAKE_CURRENT_LIST_DIR}/dataprocess.pc.in ${CMAKE_BINARY_DIR}/dataprocess.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/dataprocess.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
