# What both builds of the targets link beside the library: scripts/fuzz with clang's fuzzer, the tests to replay.
set(tool_sources fields host strict_reader strict_task_list strict_xml values)
list(TRANSFORM tool_sources REPLACE "(.+)" "${CMAKE_CURRENT_LIST_DIR}/../tools/ssib/\\1.cpp")
set(fuzz_sources ${CMAKE_CURRENT_LIST_DIR}/support.cpp ${tool_sources})
set(fuzz_includes ${CMAKE_CURRENT_LIST_DIR} ${CMAKE_CURRENT_LIST_DIR}/../tools/ssib)
