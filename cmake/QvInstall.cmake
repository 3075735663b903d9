# What `cmake --install` and `cpack` deliver. Three components, which are also the three Debian packages:
#
#   runtime      the shared library, for a machine that runs hosts
#   development  headers, static library, CMake package, pkg-config file
#   command      the qvstreet command, its manual page and its completion
#
# All of it may be moved to another folder after the installation.
include(CMakePackageConfigHelpers)

set(QVSTREET_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qvstreet)
set(MADE ${CMAKE_CURRENT_BINARY_DIR}/packaging)

install(TARGETS qvstreet EXPORT qvstreetTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(TARGETS qvstreet_static EXPORT qvstreetTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT qvstreetTargets NAMESPACE qvstreet:: DESTINATION ${QVSTREET_CMAKE_DIR} COMPONENT development)

# Before 1.0 a minor version may change the interface, after it only a major one.
set(COMPATIBLE SameMajorVersion)
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(COMPATIBLE SameMinorVersion)
endif()
write_basic_package_version_file(${MADE}/qvstreetConfigVersion.cmake COMPATIBILITY ${COMPATIBLE})
configure_package_config_file(cmake/qvstreetConfig.cmake.in ${MADE}/qvstreetConfig.cmake
  INSTALL_DESTINATION ${QVSTREET_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
install(FILES ${MADE}/qvstreetConfig.cmake ${MADE}/qvstreetConfigVersion.cmake
  DESTINATION ${QVSTREET_CMAKE_DIR} COMPONENT development)

# From the folder of qvstreet.pc up to the prefix, however deep the library folder is. An absolute library folder does
# not move.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  set(PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
  file(RELATIVE_PATH PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
  string(REGEX REPLACE "/$" "" PC_PREFIX "\${pcfiledir}/${PC_PREFIX}")
endif()
foreach(FOLDER LIBDIR INCLUDEDIR)
  set(PC_${FOLDER} ${CMAKE_INSTALL_${FOLDER}})
  if(NOT IS_ABSOLUTE ${PC_${FOLDER}})
    set(PC_${FOLDER} "\${prefix}/${PC_${FOLDER}}")
  endif()
endforeach()
configure_file(cmake/qvstreet.pc.in ${MADE}/qvstreet.pc @ONLY)
install(FILES ${MADE}/qvstreet.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(QVSTREET_BUILD_TOOLS AND NOT WIN32)
  configure_file(packaging/qvstreet.1.in ${MADE}/qvstreet.1 @ONLY)
  install(FILES ${MADE}/qvstreet.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT command)
  install(FILES packaging/qvstreet.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME qvstreet COMPONENT command)
endif()

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

set(CPACK_PACKAGE_NAME qvstreet)
set(CPACK_PACKAGE_VENDOR "the qvstreet authors")
set(CPACK_PACKAGE_CONTACT "the qvstreet authors <qvstreet@example.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
# The first line of each description below, which cpack would else put behind one for all.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(QVSTREET_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL command)
endif()
if(NOT CPACK_GENERATOR)
  set(CPACK_GENERATOR DEB)
endif()
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Otherwise the umask of whoever packs gets into the packages.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# A program that was linked with this version runs with a later one of the same SONAME.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(DESCRIPTION "qvstreet finds the streets of a wafer, the narrow lanes between the
dies, in 8-bit grey camera images: their angles, edges and crossings,
each with a score.")
set(RUNTIME_PACKAGE libqvstreet${QVSTREET_SOVERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${RUNTIME_PACKAGE})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "street finder for camera images of wafers - library
${DESCRIPTION}

This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqvstreet-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${RUNTIME_PACKAGE} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "street finder for camera images of wafers - development files
${DESCRIPTION}

This package holds the headers, the static library and what CMake and
pkg-config need to find them.")

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME qvstreet)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION science)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_COMMAND_DESCRIPTION "street finder for camera images of wafers - command
${DESCRIPTION}

This package holds the command. It reads image files and writes JSON, pictures
and a page that shows every stage of a search.")

# Changelog, copyright and compressed pages, which belong to packages and not to every installation.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/finish_packages.cmake)
set(QVSTREET_PACKAGING ${PROJECT_SOURCE_DIR}/packaging)
configure_file(cmake/QvPackOptions.cmake.in ${MADE}/QvPackOptions.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${MADE}/QvPackOptions.cmake)
include(CPack)
