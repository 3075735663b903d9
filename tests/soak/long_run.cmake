if(UNIX)
  add_executable(soak_long_run long_run.cpp failing_memory.cpp)
  target_link_libraries(soak_long_run PRIVATE qvstreet_soak_support qvstreet_test_rules)
endif()
