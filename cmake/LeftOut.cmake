# The tests that a build leaves out because of its platform, and why.
set(VELLIX_LEFT_OUT)

if(CMAKE_CROSSCOMPILING)
  list(APPEND VELLIX_LEFT_OUT
      # They check sources, documents or tools, which are the same everywhere.
      abi.formats abi.headers abi.hidden abi.layers docs.code
      # They install for this machine; .ci/run does it for the target.
      abi.release package.build package.debian package.fetched package.found
      # The description is that of x86-64.
      abi.unchanged
      # The interpreter is that of this machine and cannot load the library.
      example.python_script)
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
      # They cancel or exit a thread within frames of C++.
      Hosts.ACancelledThreadLeavesNoLockHeld
      Hosts.LogThroughTheWrapperInAnyLocaleAndNoHalfLine
      Locks.SetReleasesAllWaitersAndACancelledOneHoldsNoLock
      Threads.OutcomeIsKeptWhateverWayTheBodyEnds)
endif()

# Disables those of the directory that calls it. Tests that a program lists by
# itself exist only when ctest has read the files of their names.
function(vellix_leave_out)
  if(NOT VELLIX_LEFT_OUT)
    return()
  endif()
  foreach(name IN LISTS VELLIX_LEFT_OUT)
    if(TEST ${name})
      set_tests_properties(${name} PROPERTIES DISABLED TRUE)
    endif()
  endforeach()
  set(file ${CMAKE_CURRENT_BINARY_DIR}/left_out.cmake)
  list(JOIN VELLIX_LEFT_OUT " " names)
  file(WRITE ${file} "set_tests_properties(${names} PROPERTIES DISABLED TRUE)\n")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${file})
endfunction()
