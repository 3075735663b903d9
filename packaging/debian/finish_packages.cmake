# Run by cpack between installing the components and packing them: what Debian wants in a package beside the files
# themselves. CPACK_TEMPORARY_DIRECTORY holds one folder for each component.
find_program(GZIP gzip REQUIRED)
set(PACKAGE_runtime ${QVSTREET_RUNTIME_PACKAGE})
set(PACKAGE_development libqvstreet-dev)
set(PACKAGE_command qvstreet)

foreach(COMPONENT IN LISTS CPACK_COMPONENTS_ALL)
  set(ROOT ${CPACK_TEMPORARY_DIRECTORY}/${COMPONENT})
  if(NOT IS_DIRECTORY ${ROOT}/usr)
    message(FATAL_ERROR "packaging: ${ROOT}/usr is missing; it should hold the files of component ${COMPONENT}")
  endif()
  set(PAPERS ${ROOT}/usr/share/doc/${PACKAGE_${COMPONENT}})
  file(MAKE_DIRECTORY ${PAPERS})
  configure_file(${QVSTREET_PACKAGING}/debian/copyright ${PAPERS}/copyright COPYONLY)
  configure_file(${QVSTREET_PACKAGING}/debian/changelog ${PAPERS}/changelog COPYONLY)

  # Without the name and the time of the file, so that the same files make the same package.
  file(GLOB PAGES ${ROOT}/usr/share/man/man*/*.[1-9])
  execute_process(COMMAND ${GZIP} -9nf ${PAPERS}/changelog ${PAGES} COMMAND_ERROR_IS_FATAL ANY)

  # cpack strips programs and shared libraries only.
  file(GLOB_RECURSE ARCHIVES ${ROOT}/usr/*.a)
  if(ARCHIVES)
    find_program(STRIP strip REQUIRED)
    execute_process(COMMAND ${STRIP} --strip-debug --enable-deterministic-archives ${ARCHIVES} COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
