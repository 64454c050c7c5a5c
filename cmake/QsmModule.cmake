# Two helpers that every directory uses. A module exports its own directory and nothing else.

# The object files of all driver modules make the driver, in the image and on the host.
set_property (GLOBAL PROPERTY QSM_DRIVER_MODULES "")

# qsm_add_module (NAME n SOURCES s... [DEPENDS m...] [IMAGE_ONLY])
# A library module of the driver, compiled from the same sources in every world. Modules may depend
# on each other in a ring: the debug service client needs gSmst, and its binding asserts. The host
# builds an IMAGE_ONLY module for that module's own test; its driver has other means in its place.
function (qsm_add_module)
  cmake_parse_arguments (ARG "IMAGE_ONLY" "NAME" "SOURCES;DEPENDS" ${ARGN})
  add_library (${ARG_NAME} STATIC ${ARG_SOURCES})
  target_include_directories (${ARG_NAME} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries (${ARG_NAME} PUBLIC qsm_include ${ARG_DEPENDS} PRIVATE qsm_driver_options)
  if (QSM_HOST)
    # The machine stands below every module without its saying so.
    target_link_libraries (${ARG_NAME} INTERFACE $<LINK_ONLY:HostMachine>)
  endif ()
  if (QSM_MACHINE)
    # The ROM takes a few of them for itself.
    set_target_properties (${ARG_NAME} PROPERTIES EXCLUDE_FROM_ALL TRUE)
  endif ()
  if (NOT (QSM_HOST AND ARG_IMAGE_ONLY))
    set_property (GLOBAL APPEND PROPERTY QSM_DRIVER_MODULES ${ARG_NAME})
  endif ()
endfunction ()

# qsm_add_test (NAME n SOURCES s... [PCD d MODULE m] DEPENDS t... [PROPERTIES p...])
# A GoogleTest program. Each case runs in a process of its own, so that module state is fresh. With
# PCD the sources and those of module m, which is of this directory, see the settings of d/Pcd.h.
# PROPERTIES are properties of the cases and their values, as for set_tests_properties.
function (qsm_add_test)
  if (NOT QSM_HOST)
    return ()
  endif ()
  cmake_parse_arguments (ARG "" "NAME;PCD;MODULE" "SOURCES;DEPENDS;PROPERTIES" ${ARGN})
  add_executable (${ARG_NAME} ${ARG_SOURCES})
  if (ARG_PCD)
    get_target_property (ModuleSources ${ARG_MODULE} SOURCES)
    get_target_property (ModuleDepends ${ARG_MODULE} INTERFACE_LINK_LIBRARIES)
    target_sources (${ARG_NAME} PRIVATE ${ModuleSources})
    target_include_directories (${ARG_NAME} PRIVATE ${ARG_PCD} ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries (${ARG_NAME} PRIVATE ${ModuleDepends})
    list (APPEND ARG_SOURCES ${ModuleSources})
  endif ()
  # The driver's sources stay apart, as in the image.
  list (FILTER ARG_SOURCES EXCLUDE REGEX "Test[.]cpp$")
  set_source_files_properties (${ARG_SOURCES} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
  target_link_libraries (${ARG_NAME} PRIVATE ${ARG_DEPENDS} qsm_host_options GTest::gtest_main)
  qsm_use_headers (TestHeaders ${ARG_NAME})
  gtest_discover_tests (${ARG_NAME} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120 ${ARG_PROPERTIES})
endfunction ()
