# Installs the library of the build tree BUILD under FOLDER, builds the folder EXAMPLES against it as a project of its own,
# and runs one of the programs.
file(REMOVE_RECURSE ${FOLDER})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE RESULT OUTPUT_VARIABLE OUTPUT ERROR_VARIABLE OUTPUT)
  if(NOT RESULT EQUAL 0)
    message(FATAL_ERROR "${ARGN} ended with ${RESULT}:\n${OUTPUT}")
  endif()
endfunction()

foreach(COMPONENT runtime development)
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/prefix --component ${COMPONENT})
endforeach()
run(${CMAKE_COMMAND} -G Ninja -S ${EXAMPLES} -B ${FOLDER}/build
  -DCMAKE_PREFIX_PATH=${FOLDER}/prefix -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_DISABLE_FIND_PACKAGE_OpenCV=ON)
run(${CMAKE_COMMAND} --build ${FOLDER}/build -j 1)
set(PROGRAM ${FOLDER}/build/minimal_host)
include(${CMAKE_CURRENT_LIST_DIR}/check_output.cmake)
file(REMOVE_RECURSE ${FOLDER})
