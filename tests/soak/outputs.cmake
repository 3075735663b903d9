if(TARGET qvstreet_tool AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
  add_test(NAME Soak.Outputs
    COMMAND /usr/bin/python3 -B ${CMAKE_CURRENT_LIST_DIR}/outputs.py $<TARGET_FILE:qvstreet_tool>)
endif()
