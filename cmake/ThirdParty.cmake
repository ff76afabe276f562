# The libraries that are not the project's own. A cross build finds them in its private sysroot, a host build among the
# machine's packages.
find_path(EXPAT_INCLUDE_DIR expat.h REQUIRED)
find_library(EXPAT_LIBRARY NAMES libexpat.so.1 expat REQUIRED)
find_path(CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
find_path(NLOHMANN_INCLUDE_DIR nlohmann/json.hpp REQUIRED)

# expat.h and the header-only libraries stand in one directory of the sysroot, or in the compiler's own: SYSTEM include
# directories keep their warnings out of the build.
function(vyx_system_library name include_dir)
  add_library(${name} INTERFACE)
  if(NOT include_dir STREQUAL "/usr/include")
    target_include_directories(${name} SYSTEM INTERFACE ${include_dir})
  endif()
  target_link_libraries(${name} INTERFACE ${ARGN})
endfunction()

vyx_system_library(vyx_expat ${EXPAT_INCLUDE_DIR} ${EXPAT_LIBRARY})
vyx_system_library(vyx_cli11 ${CLI11_INCLUDE_DIR})
vyx_system_library(vyx_nlohmann_json ${NLOHMANN_INCLUDE_DIR})
