# The tests that a build leaves out because of its platform, and why.
set(VELLIX_LEFT_OUT)

if(CMAKE_CROSSCOMPILING)
  list(APPEND VELLIX_LEFT_OUT
      # They check sources, documents or tools, which are the same everywhere.
      abi.formats abi.headers abi.hidden abi.layers docs.code
      # They install for this machine; .ci/run does it for the target.
      abi.release package.build package.fetched package.found)
endif()

if(CMAKE_CROSSCOMPILING AND CMAKE_CROSSCOMPILING_EMULATOR)
  list(APPEND VELLIX_LEFT_OUT
      # QEMU's own locks stay held in the child of a process with threads.
      Hosts.ForkedChildrenLogFailAndExecute
      Hosts.ForkedWithoutHandlersTheyDoTheSame
      # QEMU answers 0 to madvise(MADV_WIPEONFORK) and wipes nothing.
      Target.MayFailThrowLogOrReleaseTheRecord
      # QEMU does not start itself for /proc/self/exe.
      example.crashes
      # QEMU knows a program by the path that it was given, though it is gone.
      example.demo_stream.elsewhere)
endif()

if(CMAKE_CROSSCOMPILING AND CMAKE_SYSTEM_PROCESSOR STREQUAL ppc64le)
  list(APPEND VELLIX_LEFT_OUT
      # QEMU's frame of a signal is not the one that the unwinder knows.
      Hosts.ACancelledThreadLeavesNoLockHeld
      Locks.SetReleasesAllWaitersAndACancelledOneHoldsNoLock)
endif()

if(VELLIX_HAS_GLIBC AND NOT VELLIX_CANCELLATION_UNWINDS)
  list(APPEND VELLIX_LEFT_OUT
      # LLVM's unwinder finds no frame where the first instruction of a function
      # has crashed.
      example.crashes
      # They cancel or exit a thread within frames of C++.
      Hosts.ACancelledThreadLeavesNoLockHeld
      Hosts.LogThroughTheWrapperInAnyLocaleAndNoHalfLine
      Locks.SetReleasesAllWaitersAndACancelledOneHoldsNoLock
      Threads.OutcomeIsKeptWhateverWayTheBodyEnds)
endif()

# vellix_leave_out(<regex>): disables those whose names fit, which are tests of
# the directory that calls it. A name that is no test is an error.
function(vellix_leave_out regex)
  list(FILTER VELLIX_LEFT_OUT INCLUDE REGEX ${regex})
  if(VELLIX_LEFT_OUT)
    set_tests_properties(${VELLIX_LEFT_OUT} PROPERTIES DISABLED TRUE)
  endif()
endfunction()

# The same for those that the directory's test programs list by themselves:
# they exist only when ctest has read the files of their names.
function(vellix_leave_out_listed regex)
  list(FILTER VELLIX_LEFT_OUT INCLUDE REGEX ${regex})
  if(NOT VELLIX_LEFT_OUT)
    return()
  endif()
  get_property(programs DIRECTORY PROPERTY BUILDSYSTEM_TARGETS)
  list(TRANSFORM programs REPLACE "(.+)" "\${\\1_TESTS}")
  list(JOIN programs " " listed)
  list(JOIN VELLIX_LEFT_OUT " " names)
  set(file ${CMAKE_CURRENT_BINARY_DIR}/left_out.cmake)
  file(WRITE ${file} "set(names ${names})
set_tests_properties(\${names} PROPERTIES DISABLED TRUE)
list(REMOVE_ITEM names ${listed})
if(names)
  message(FATAL_ERROR \"cmake/LeftOut.cmake: no such test: \${names}\")
endif()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${file})
endfunction()
