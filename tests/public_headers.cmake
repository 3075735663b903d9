# Every public header compiles alone, from a tree that holds nothing but public headers and from no library but the
# standard one, so that what is installed is complete. The umbrella has them all.
#
# QVSTREET_PUBLIC_HEADERS, paths relative to qvstreet/, is the list that the installation uses.
if(NOT QVSTREET_PUBLIC_HEADERS)
  message(FATAL_ERROR "The list of public headers is empty")
endif()

set(PUBLIC_TREE ${CMAKE_CURRENT_BINARY_DIR}/public_headers)
# A header that is no longer public must not help the others. Only those go, so that nothing else is compiled again.
file(GLOB_RECURSE PRESENT_HEADERS RELATIVE ${PUBLIC_TREE}/include/qvstreet ${PUBLIC_TREE}/include/qvstreet/*)
list(REMOVE_ITEM PRESENT_HEADERS ${QVSTREET_PUBLIC_HEADERS})
list(TRANSFORM PRESENT_HEADERS PREPEND ${PUBLIC_TREE}/include/qvstreet/)
if(PRESENT_HEADERS)
  file(REMOVE ${PRESENT_HEADERS})
endif()
set(PUBLIC_HEADER_SOURCES)
set(UMBRELLA_TEXT "#include \"qvstreet/qvstreet.h\"\n")
foreach(HEADER IN LISTS QVSTREET_PUBLIC_HEADERS)
  configure_file(${PROJECT_SOURCE_DIR}/qvstreet/${HEADER} ${PUBLIC_TREE}/include/qvstreet/${HEADER} COPYONLY)

  # Twice, so that a missing include guard shows.
  string(MAKE_C_IDENTIFIER ${HEADER} IDENTIFIER)
  set(SOURCE ${PUBLIC_TREE}/${IDENTIFIER}.cpp)
  file(CONFIGURE OUTPUT ${SOURCE} CONTENT "#include \"qvstreet/${HEADER}\"\n#include \"qvstreet/${HEADER}\"\n" @ONLY)
  list(APPEND PUBLIC_HEADER_SOURCES ${SOURCE})

  string(TOUPPER QVSTREET_${IDENTIFIER} GUARD)
  string(APPEND UMBRELLA_TEXT "#ifndef ${GUARD}\n#error \"qvstreet.h lacks ${HEADER}, or its guard is not ${GUARD}\"\n#endif\n")
endforeach()
file(CONFIGURE OUTPUT ${PUBLIC_TREE}/umbrella_is_complete.cpp CONTENT "${UMBRELLA_TEXT}" @ONLY)
list(APPEND PUBLIC_HEADER_SOURCES ${PUBLIC_TREE}/umbrella_is_complete.cpp)

add_library(public_headers_compile OBJECT ${PUBLIC_HEADER_SOURCES})
target_include_directories(public_headers_compile PRIVATE ${PUBLIC_TREE}/include)
target_link_libraries(public_headers_compile PRIVATE qvstreet_build_rules)
set_target_properties(public_headers_compile PROPERTIES CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
