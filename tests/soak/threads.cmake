find_package(Threads REQUIRED)
add_executable(soak_threads threads.cpp)
target_link_libraries(soak_threads PRIVATE qvstreet_soak_support qvstreet_test_rules Threads::Threads)
