# The ROM of the emulated machine: freestanding ELF files from clang and ld.lld, of which objcopy
# takes the bytes. The target triple stands with the other compile options (QsmOptions.cmake).
set (CMAKE_SYSTEM_NAME Generic)
set (CMAKE_SYSTEM_PROCESSOR x86_64)
set (CMAKE_CXX_COMPILER clang++)
set (CMAKE_ASM_COMPILER clang++)

# There is nothing to link a trial program with.
set (CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set (CMAKE_CXX_LINK_EXECUTABLE
     "ld.lld <LINK_FLAGS> -o <TARGET> --start-group <OBJECTS> <LINK_LIBRARIES> --end-group")
