# How programs of this build are started, by tests and by hand: ${VYXSSIB_RUN} PROGRAM [ARGUMENT...]. scripts/setup
# writes the file, because whether this machine needs an emulator shows only when a program is tried; without it
# programs are started as they are.
set(VYXSSIB_RUN ${CMAKE_BINARY_DIR}/run)
if(NOT EXISTS ${VYXSSIB_RUN})
  file(WRITE ${VYXSSIB_RUN} "#!/bin/sh\nexec \"$@\"\n")
  file(CHMOD ${VYXSSIB_RUN} PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR ${VYXSSIB_RUN})
