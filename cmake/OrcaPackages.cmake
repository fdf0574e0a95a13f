# Debian packages, one for each component of the installation; script/package makes them.
set(version "${PROJECT_VERSION}")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orca-pdk)
set(CPACK_PACKAGE_VERSION "${version}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library devel host samples)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The orca provider development kit authors <authors@orca-pdk.example>")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/packages/finish.cmake")

# What programs and libraries need of other packages is read from them; what they need of each other
# is said here.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/pdk" "${PROJECT_BINARY_DIR}/fiutil")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/cmake/packages/shlibs" "${PROJECT_SOURCE_DIR}/cmake/packages/triggers")
set(library "liborca-pdk4.4 (= ${version})")

# orca_package(COMPONENT NAME section summary text dependencies)
function(orca_package component name section summary text depends)
  string(TOUPPER "${component}" upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME "${name}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION "${section}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
  install(FILES "${PROJECT_SOURCE_DIR}/cmake/packages/copyright"
                "${PROJECT_SOURCE_DIR}/cmake/packages/changelog"
          DESTINATION "share/doc/${name}" COMPONENT ${component} EXCLUDE_FROM_ALL)
endfunction()

orca_package(library liborca-pdk4.4 libs "provider development kit for snapshot providers"
  "Classes from which snapshot providers are built: plug-ins that a host
snapshot framework loads and drives through a fixed table of operations." "")
orca_package(devel liborca-pdk-dev libdevel "development files of the provider development kit"
  "Headers, CMake package and pkg-config file with which snapshot providers
are built." "${library}, fihost (= ${version}), libace-dev, libxerces-c-dev, libicu-dev, icu-devtools, pkg-config")
orca_package(host fihost devel "command-line host for snapshot providers"
  "Loads a snapshot provider, drives it through a snapshot's life, and checks
that it keeps to the requirements. firecord stands in for the command-line
tool of an array in its tests." "${library}")
orca_package(samples orca-pdk-samples devel "sample snapshot providers"
  "Snapshot providers that do real work, and fiarray, a small disk array to
try them on." "${library}")

include(CPack)
