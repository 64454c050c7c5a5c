# Compile options, once, on interface targets.

add_library (qsm_include INTERFACE)
target_include_directories (qsm_include INTERFACE ${PROJECT_SOURCE_DIR}/Include)

set (QSM_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wundef -Werror)

# Sources of the driver. On the host they carry unwind tables and position-independent code: a
# simulated processor leaves a dead loop by an exception, and the driver is also a shared object.
add_library (qsm_driver_options INTERFACE)
target_compile_options (
  qsm_driver_options
  INTERFACE $<$<COMPILE_LANGUAGE:CXX>:${QSM_WARNINGS}>
            -ffreestanding -fno-delete-null-pointer-checks
            $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>
            $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>)
if (QSM_HOST)
  target_compile_options (
    qsm_driver_options INTERFACE -fPIC -fexceptions -fasynchronous-unwind-tables
                                 $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)
  if (CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options (qsm_driver_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
  endif ()
endif ()

# Sources of the stand-in platform's host side, the tool and the tests.
add_library (qsm_host_options INTERFACE)
target_compile_options (qsm_host_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:${QSM_WARNINGS}> -fPIC)
