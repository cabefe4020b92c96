# The target `lint`: clang-format over every C and C++ file, and clang-tidy over every C++ source of a
# target, compiled as the target compiles it. What passed has a stamp in lint/, and is looked at
# again when the file, a header that it includes, its flags or the configuration has changed.

# The C and C++ files and the linters' configurations of the tree, other than in build folders.
file(GLOB FOLDERS LIST_DIRECTORIES true ${CMAKE_SOURCE_DIR}/*)
list(FILTER FOLDERS EXCLUDE REGEX "/build[^/]*$")
set(FORMATTED "")
set(LINT_CONFIGURATIONS ${CMAKE_SOURCE_DIR}/.clang-tidy)
foreach(folder IN LISTS FOLDERS)
  if(IS_DIRECTORY ${folder})
    file(GLOB_RECURSE files CONFIGURE_DEPENDS ${folder}/*.h ${folder}/*.cpp ${folder}/*.c)
    list(APPEND FORMATTED ${files})
    file(GLOB_RECURSE files CONFIGURE_DEPENDS ${folder}/.clang-tidy)
    list(APPEND LINT_CONFIGURATIONS ${files})
  endif()
endforeach()

set(LINT_FOLDER ${CMAKE_BINARY_DIR}/lint)
file(MAKE_DIRECTORY ${LINT_FOLDER})
string(REPLACE ";" "\n" lines "${FORMATTED}")
file(CONFIGURE OUTPUT ${LINT_FOLDER}/files CONTENT "${lines}")
add_custom_command(OUTPUT ${LINT_FOLDER}/format
  COMMAND clang-format --dry-run --Werror --files=${LINT_FOLDER}/files
  COMMAND ${CMAKE_COMMAND} -E touch ${LINT_FOLDER}/format
  DEPENDS ${FORMATTED} ${LINT_FOLDER}/files ${CMAKE_SOURCE_DIR}/.clang-format
  COMMENT "Checking the format of every file" VERBATIM)
set(LINT_STAMPS ${LINT_FOLDER}/format)

# Sets `flags` to how a target's sources are compiled. Folders outside of the tree are other people's,
# and the compiler looks into /usr/include by itself.
function(qrv_flags_of target)
  set(folders $<REMOVE_DUPLICATES:$<TARGET_PROPERTY:${target},INCLUDE_DIRECTORIES>>)
  set(own $<FILTER:${folders},INCLUDE,^${CMAKE_SOURCE_DIR}>)
  set(others $<FILTER:${folders},EXCLUDE,^${CMAKE_SOURCE_DIR}|^/usr/include$>)
  set(definitions $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
  set(flags -std=c++${CMAKE_CXX_STANDARD} -DNDEBUG "-I$<JOIN:${own},$<SEMICOLON>-I>"
      "$<$<BOOL:${others}>:-isystem$<JOIN:${others},$<SEMICOLON>-isystem>>"
      "$<$<BOOL:${definitions}>:-D$<JOIN:${definitions},$<SEMICOLON>-D>>"
      $<TARGET_PROPERTY:${target},COMPILE_OPTIONS> PARENT_SCOPE)
endfunction()

# Adds a stamp for each source of the targets of a folder and of those below it.
function(qrv_lint folder)
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    get_target_property(sources ${target} SOURCES)
    if(type MATCHES "UTILITY|INTERFACE")
      continue()
    endif()
    qrv_flags_of(${target})
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    foreach(source IN LISTS sources)
      cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder} NORMALIZE)
      file(RELATIVE_PATH name ${CMAKE_SOURCE_DIR} ${source})
      string(REPLACE / - name ${name})
      set(stamp ${LINT_FOLDER}/${name})
      if(NOT stamp IN_LIST LINT_STAMPS)  # a source of several targets is looked at once
        add_custom_command(OUTPUT ${stamp}
          COMMAND ${CMAKE_SOURCE_DIR}/scripts/lint ${source} ${stamp} ${flags}
          DEPENDS ${source} ${LINT_CONFIGURATIONS} ${CMAKE_SOURCE_DIR}/scripts/lint
          DEPFILE ${stamp}.d COMMENT "Linting ${name}" COMMAND_EXPAND_LISTS VERBATIM)
        list(APPEND LINT_STAMPS ${stamp})
      endif()
    endforeach()
  endforeach()
  get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(each IN LISTS folders)
    if(each MATCHES "^${CMAKE_SOURCE_DIR}")  # not GoogleTest's
      qrv_lint(${each})
    endif()
  endforeach()
  set(LINT_STAMPS ${LINT_STAMPS} PARENT_SCOPE)
endfunction()

qrv_lint(${CMAKE_SOURCE_DIR})
add_custom_target(lint DEPENDS ${LINT_STAMPS})
