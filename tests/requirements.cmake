# What building and running the tests needs. Where anything is missing nothing is configured, rather
# than less tested.

set(MISSING "")
foreach(program Xvfb bash clang clang++ clang-format clang-tidy convert grim import llvm-nm nm
        pkg-config python3 sway valgrind wayland-scanner xauth xrandr)
  find_program(PROGRAM_${program} ${program})
  if(NOT PROGRAM_${program})
    list(APPEND MISSING ${program})
  endif()
endforeach()

find_path(GOOGLETEST_FOLDER CMakeLists.txt PATHS /usr/src/googletest NO_DEFAULT_PATH)
if(NOT GOOGLETEST_FOLDER)
  list(APPEND MISSING "GoogleTest's sources")
endif()

set(LIBRARIES wayland-client wayland-server)
if(QRV_NATIVE_PROGRAMS)
  list(APPEND LIBRARIES benchmark gd spng)
endif()
foreach(library ${LIBRARIES})
  string(TOUPPER ${library}_LIBRARY variable)
  find_library(${variable} ${library})
  if(NOT ${variable})
    list(APPEND MISSING lib${library})
  endif()
endforeach()

if(MISSING)
  list(JOIN MISSING ", " MISSING)
  message(FATAL_ERROR "The tests need ${MISSING}: scripts/setup installs that.")
endif()
