if(TARGET qvstreet_command AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
  add_executable(soak_image_files image_files.cpp)
  target_include_directories(soak_image_files PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(soak_image_files PRIVATE qvstreet_command qvstreet_build_rules)
  target_compile_definitions(soak_image_files PRIVATE
    QVSTREET_COMMAND="$<TARGET_FILE:qvstreet_tool>"
    QVSTREET_FUZZ_CORPUS="${CMAKE_CURRENT_LIST_DIR}/../fuzz/corpus")
  add_dependencies(soak_image_files qvstreet_tool)
  add_test(NAME Soak.ImageFiles COMMAND soak_image_files --short)
endif()
