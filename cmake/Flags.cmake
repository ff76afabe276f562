# What the project's own code is compiled with: vyx_flags for C++, vyx_strict_c for programs that a client could write.
add_library(vyx_sanitizers INTERFACE)
if(VYXSSIB_SANITIZE)
  target_compile_options(vyx_sanitizers INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(vyx_sanitizers INTERFACE -fsanitize=address,undefined)
  target_sources(vyx_sanitizers INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${CMAKE_CURRENT_LIST_DIR}/sanitizer_options.c>)
endif()

add_library(vyx_warnings INTERFACE)
target_compile_options(vyx_warnings INTERFACE
  -Wall -Wextra -Wconversion -Wshadow
  # What a newer release of a library calls deprecated still works.
  "$<$<BOOL:${VYXSSIB_WERROR}>:-Werror;-Wno-error=deprecated-declarations>")

add_library(vyx_flags INTERFACE)
target_compile_definitions(vyx_flags INTERFACE _GNU_SOURCE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_link_libraries(vyx_flags INTERFACE vyx_warnings vyx_sanitizers)

add_library(vyx_strict_c INTERFACE)
target_compile_options(vyx_strict_c INTERFACE -pedantic-errors)
target_link_libraries(vyx_strict_c INTERFACE vyx_warnings vyx_sanitizers)
