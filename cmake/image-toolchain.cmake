# The production image: a freestanding PE32+ file from clang and lld-link. The target triple stands
# with the other compile options (QsmOptions.cmake): as CMAKE_CXX_COMPILER_TARGET it makes CMake
# look for a Windows installation.
set (CMAKE_SYSTEM_NAME Generic)
set (CMAKE_SYSTEM_PROCESSOR x86_64)
set (CMAKE_CXX_COMPILER clang++)
set (CMAKE_ASM_COMPILER clang++)

# There is nothing to link a trial program with.
set (CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set (CMAKE_CXX_LINK_EXECUTABLE "lld-link <LINK_FLAGS> /out:<TARGET> <OBJECTS> <LINK_LIBRARIES>")
set (CMAKE_EXECUTABLE_SUFFIX_CXX .efi)
