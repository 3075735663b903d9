# The inputs that the fuzz targets start from, and those that once broke something, in every test run and by every
# compiler.
include(${CMAKE_CURRENT_LIST_DIR}/../fuzz/targets.cmake)
qvstreet_add_fuzz_targets(fuzz_replay_ ${QVSTREET_FUZZ_FOLDER}/replay_main.cpp)
foreach(NAME IN LISTS QVSTREET_FUZZ_TARGETS)
  add_test(NAME Fuzz.Replay.${NAME} COMMAND fuzz_replay_${NAME} ${QVSTREET_FUZZ_FOLDER}/corpus/${NAME})
endforeach()
