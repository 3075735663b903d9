# The first use in a process is tried in child processes.
if(UNIX)
  add_executable(soak_memory_failures memory_failures.cpp failing_memory.cpp)
  target_link_libraries(soak_memory_failures PRIVATE qvstreet_soak_support qvstreet_test_rules)
endif()
