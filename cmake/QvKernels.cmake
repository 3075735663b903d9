# Kernel files (`..._kernels.cpp`) are compiled once for each instruction set, each time in the namespace that QV_KERNELS
# names; qvstreet/platform/instruction_set.h chooses among them at run time.

# qvstreet_add_kernels(<prefix> <object list> <file>...) makes one object library for each instruction set and appends
# their objects to the named list. Options after COMPILE_OPTIONS go to all of them.
function(qvstreet_add_kernels PREFIX OBJECTS)
  cmake_parse_arguments(KERNELS "" "" "COMPILE_OPTIONS" ${ARGN})
  set(SETS plain baseline)
  # The portable loop stays a loop, so that tests compare the vectors with something else.
  set(FLAGS_plain -fno-tree-vectorize -fno-tree-slp-vectorize -DQV_KERNELS_PLAIN=1)
  set(FLAGS_baseline -ftree-vectorize)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    list(APPEND SETS v3 v4)
    set(FLAGS_v3 -march=x86-64-v3 -ftree-vectorize)
    # Left to itself the compiler stays with vectors of 32 bytes.
    set(FLAGS_v4 -march=x86-64-v4 -mprefer-vector-width=512 -ftree-vectorize)
  endif()
  set(LIST ${${OBJECTS}})
  foreach(SET IN LISTS SETS)
    set(TARGET ${PREFIX}_${SET})
    add_library(${TARGET} OBJECT ${KERNELS_UNPARSED_ARGUMENTS})
    set_target_properties(${TARGET} PROPERTIES
      POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON CXX_EXTENSIONS OFF)
    target_include_directories(${TARGET} PRIVATE ${PROJECT_SOURCE_DIR})
    target_compile_definitions(${TARGET} PRIVATE QV_KERNELS=qv_kernels_${SET})
    target_link_libraries(${TARGET} PRIVATE qvstreet_build_rules)
    # Roots that nobody asks for an error number, and divisions that nobody asks for traps, can run in vectors.
    target_compile_options(${TARGET} PRIVATE
      $<$<CONFIG:>:-O3> -fno-math-errno -fno-trapping-math ${FLAGS_${SET}} ${KERNELS_COMPILE_OPTIONS})
    list(APPEND LIST $<TARGET_OBJECTS:${TARGET}>)
  endforeach()
  set(${OBJECTS} ${LIST} PARENT_SCOPE)
endfunction()
