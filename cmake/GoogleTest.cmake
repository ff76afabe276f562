# GoogleTest, built for each target from Debian's sources.
set(GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources")
if(NOT EXISTS ${GOOGLETEST_SOURCE}/CMakeLists.txt)
  message(FATAL_ERROR "The tests need GoogleTest's sources in ${GOOGLETEST_SOURCE}: Debian's package googletest has "
    "them, -DGOOGLETEST_SOURCE=DIR names another place, -DBUILD_TESTING=OFF builds without tests")
endif()

function(vyx_add_googletest)
  set(BUILD_SHARED_LIBS OFF)
  set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(${GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  target_compile_options(gtest PRIVATE -O1 -g1)
endfunction()
vyx_add_googletest()
