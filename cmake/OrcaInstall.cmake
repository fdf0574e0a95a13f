# Installs the libraries, headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

set(orca_include_dir "${CMAKE_INSTALL_INCLUDEDIR}/orca_pdk")
set(orca_package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/orca_pdk")

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME devel)
install(TARGETS orca_pdk fiutil EXPORT orca_pdk_targets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT library NAMELINK_COMPONENT devel)
install(DIRECTORY pdk/include/ fiutil/include/ DESTINATION "${orca_include_dir}"
        FILES_MATCHING PATTERN "*.h")
install(FILES
        vtools/vstring/V_export.h
        vtools/vstring/V_sscanf.h
        vtools/vstring/V_strings.h
        vtools/vstring/V_strtoimax.h
        vtools/vstring/V_strtoumax.h
        vtools/vstring/V_vfscanf.h
        common/lib/vtime.h
        DESTINATION "${orca_include_dir}")

install(FILES pdk/orca_pdk.supp DESTINATION "${CMAKE_INSTALL_DATADIR}/orca_pdk")

# Folders of the store, of which the kit makes only the last level; their places are fixed.
install(DIRECTORY DESTINATION lib/orca/configfiles COMPONENT library)
install(DIRECTORY DESTINATION lib/orca/cachefiles COMPONENT library)

install(EXPORT orca_pdk_targets NAMESPACE orca:: DESTINATION "${orca_package_dir}")
configure_package_config_file(cmake/orca_pdkConfig.cmake.in
  "${CMAKE_CURRENT_BINARY_DIR}/orca_pdkConfig.cmake"
  INSTALL_DESTINATION "${orca_package_dir}"
  PATH_VARS ORCA_PLUGIN_DIR)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/orca_pdkConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
        "${CMAKE_CURRENT_BINARY_DIR}/orca_pdkConfig.cmake"
        "${CMAKE_CURRENT_BINARY_DIR}/orca_pdkConfigVersion.cmake"
        cmake/OrcaMessageCatalog.cmake
        cmake/OrcaProvider.cmake
        cmake/OrcaProviderTest.cmake
        cmake/orca_provider_test.sh
        DESTINATION "${orca_package_dir}")

file(RELATIVE_PATH ORCA_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/orca_pdk.pc.in "${CMAKE_CURRENT_BINARY_DIR}/orca_pdk.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/orca_pdk.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
