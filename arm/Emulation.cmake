# How a build for another architecture runs its tests.
#
#   PANEL_EMULATION   emulator and prefix for simulator/sandbox --emulator; without it the tests of
#                     such a build are not run
#   PANEL_TEST_SECONDS   time limit of a test; an emulator takes its time
set(PANEL_EMULATION "" CACHE STRING "Emulator and prefix that run what is built; empty: none")
set(PANEL_TEST_SECONDS 900 CACHE STRING "Time limit of one test")
mark_as_advanced(PANEL_EMULATION PANEL_TEST_SECONDS)

# panel_not_emulated(REASON test...): labels tests that an emulator cannot run, or that say nothing
# about the architecture. `./panel arm test` leaves them out, and prints them with their reasons.
function(panel_not_emulated reason)
  if(CMAKE_CROSSCOMPILING)
    set_property(TEST ${ARGN} APPEND PROPERTY LABELS "not emulated: ${reason}")
  endif()
endfunction()
