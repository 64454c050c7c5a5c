# Compile options, once, on interface targets.

add_library (qsm_include INTERFACE)
target_include_directories (qsm_include INTERFACE ${PROJECT_SOURCE_DIR}/Include)

# Where sources are compiled several at once, what one has at namespace scope is no concern of the
# functions of the next, and clang has no such warning of names in functions alone.
set (QSM_WARNINGS -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wundef
    $<IF:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>,$<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>,-Wshadow>)
if (QSM_WARNINGS_ARE_ERRORS)
  list (APPEND QSM_WARNINGS -Werror)
endif ()

# Sources of the driver. On the host they carry unwind tables and position-independent code: a
# simulated processor leaves a dead loop by an exception, and the driver is also a shared object.
add_library (qsm_driver_options INTERFACE)
target_compile_options (
  qsm_driver_options
  INTERFACE $<$<COMPILE_LANGUAGE:CXX>:${QSM_WARNINGS}>
            -ffreestanding -fno-delete-null-pointer-checks
            $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti>
            $<$<COMPILE_LANGUAGE:CXX>:-fno-threadsafe-statics>)
if (NOT QSM_HOST)
  # No operating system and no run-time library stands behind the image and the ROM: nothing below
  # the stack pointer is safe, nobody probes or guards the stack, unwinds or runs start-up code, and
  # no vector register is used unasked. What the objects tell a debugger of the source stays out of
  # what is delivered. It names the source by its place in the tree; a compiler cache may have given
  # the compiler that from the build's directory.
  file (RELATIVE_PATH SourceFromBuild ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  if (QSM_MACHINE)
    # For a target without an operating system clang does not say that it makes ELF objects.
    target_compile_options (
      qsm_driver_options INTERFACE --target=x86_64-elf -D__ELF__
                                   $<$<COMPILE_LANGUAGE:CXX>:-fno-pic>
                                   $<$<COMPILE_LANGUAGE:CXX>:-mcmodel=small>
                                   $<$<COMPILE_LANGUAGE:CXX>:-mgeneral-regs-only>)
  else ()
    target_compile_options (
      qsm_driver_options INTERFACE --target=x86_64-unknown-windows-msvc
                                   $<$<COMPILE_LANGUAGE:CXX>:-mno-stack-arg-probe>
                                   $<$<COMPILE_LANGUAGE:CXX>:-mno-implicit-float>)
  endif ()
  target_compile_options (
    qsm_driver_options
    INTERFACE -gdwarf-4
              -fdebug-compilation-dir=.
              -fdebug-prefix-map=${PROJECT_SOURCE_DIR}/=
              -fdebug-prefix-map=${SourceFromBuild}=
              $<$<COMPILE_LANGUAGE:CXX>:$<IF:$<BOOL:${QSM_MACHINE}>,-O2,-Os>>
              $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions>
              $<$<COMPILE_LANGUAGE:CXX>:-fno-asynchronous-unwind-tables>
              $<$<COMPILE_LANGUAGE:CXX>:-fno-stack-protector>
              $<$<COMPILE_LANGUAGE:CXX>:-fno-ident>
              $<$<COMPILE_LANGUAGE:CXX>:-ffunction-sections>
              $<$<COMPILE_LANGUAGE:CXX>:-fdata-sections>
              $<$<COMPILE_LANGUAGE:CXX>:-mno-red-zone>
              $<$<COMPILE_LANGUAGE:CXX>:-Wframe-larger-than=1024>
              $<$<COMPILE_LANGUAGE:CXX>:-Wglobal-constructors>
              $<$<COMPILE_LANGUAGE:CXX>:-Wexit-time-destructors>)
else ()
  target_compile_options (
    qsm_driver_options INTERFACE -fPIC -fexceptions -fasynchronous-unwind-tables
                                 $<$<CONFIG:Debug>:-O1>
                                 $<$<COMPILE_LANGUAGE:CXX>:-fvisibility-inlines-hidden>)
  if (CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options (qsm_driver_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
  endif ()
endif ()

# Sources of the stand-in platform's host side, the tool and the tests.
add_library (qsm_host_options INTERFACE)
target_compile_options (qsm_host_options INTERFACE $<$<COMPILE_LANGUAGE:CXX>:${QSM_WARNINGS}> -fPIC)
