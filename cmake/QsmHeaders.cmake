# Headers that cost more to compile than the sources that take them. Each source still includes what
# it uses: only the presets that are built from nothing most often have the headers compiled, and
# (QSM_TOGETHER) several sources of a target at once, so that what they make of a template is made
# once.

# qsm_common_headers (n HEADERS h... LIBRARIES l...)
# Compiles the headers h of the libraries l once, for all targets that use n.
function (qsm_common_headers NAME)
  cmake_parse_arguments (ARG "" "" "HEADERS;LIBRARIES" ${ARGN})
  set (SOURCE ${CMAKE_CURRENT_BINARY_DIR}/${NAME}.cpp)
  file (CONFIGURE OUTPUT ${SOURCE} CONTENT "// The headers need a source to belong to.\n")
  add_library (${NAME} OBJECT ${SOURCE})
  target_link_libraries (${NAME} PRIVATE qsm_host_options ${ARG_LIBRARIES})
  target_precompile_headers (${NAME} PRIVATE ${ARG_HEADERS})
endfunction ()

# qsm_compile_together (t...)
# Compiles several sources of each of the targets t at once.
function (qsm_compile_together)
  if (QSM_TOGETHER)
    set_target_properties (${ARGN} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 8)
  endif ()
endfunction ()

# qsm_use_headers (n t...)
# Gives the sources of the targets t, which are compiled together, the compiled headers n; with fmt,
# whose headers ask how it is linked.
function (qsm_use_headers NAME)
  foreach (TARGET IN LISTS ARGN)
    target_link_libraries (${TARGET} PRIVATE fmt::fmt)
    target_precompile_headers (${TARGET} REUSE_FROM ${NAME})
  endforeach ()
  qsm_compile_together (${ARGN})
endfunction ()

# CLI11 gives each source that takes it all of its code, and to optimise that takes three times as
# long as everything else, for code that runs once.
set (QSM_COMMAND_LINE_OPTIONS -O0)

# qsm_command_line_sources (s...)
# The sources s of this directory, which take CLI11.
function (qsm_command_line_sources)
  set_source_files_properties (${ARGN} PROPERTIES COMPILE_OPTIONS ${QSM_COMMAND_LINE_OPTIONS}
                                                  SKIP_PRECOMPILE_HEADERS ON)
endfunction ()

if (QSM_HOST)
  find_package (fmt REQUIRED)
  set (HOST_HEADERS <algorithm> <array> <cstring> <filesystem> <map> <optional> <span> <sstream>
                    <string> <string_view> <vector> <fmt/format.h>)
  qsm_common_headers (HostHeaders HEADERS ${HOST_HEADERS} LIBRARIES fmt::fmt)
  qsm_common_headers (TestHeaders HEADERS ${HOST_HEADERS} <gmock/gmock.h> <gtest/gtest.h>
                      LIBRARIES fmt::fmt GTest::gmock)
endif ()
