# The production image from the objects of all driver modules, with its map, its twin for debuggers,
# its checks and its firmware file; and the other module of the emulated machine's volume.

get_property (Modules GLOBAL PROPERTY QSM_DRIVER_MODULES)
list (TRANSFORM Modules REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>")

# qsm_link_image (TARGET NAME BASE SOURCE...): build/image/NAME.efi of the sources or objects, linked
# to run at address BASE, and its map. Incremental and timestamp data would make two builds of one
# source differ.
function (qsm_link_image TARGET NAME BASE)
  add_executable (${TARGET} ${ARGN})
  set_target_properties (${TARGET} PROPERTIES OUTPUT_NAME ${NAME} LINKER_LANGUAGE CXX
                                              RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
  target_link_options (
    ${TARGET} PRIVATE
    /nologo
    /machine:x64
    /subsystem:efi_boot_service_driver
    /entry:_ModuleEntryPoint
    /nodefaultlib
    /base:${BASE}
    /version:${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    /timestamp:0
    /opt:ref,noicf
    /lldmap:${NAME}.map
    /WX)
endfunction ()
qsm_link_image (QsmImage VelmoraQsmErrorHandler 0 ${Modules})

# The twin for debuggers: the same objects, of which it keeps what they tell of the source, and where
# each function has its frame on the stack.
set (Frames ${PROJECT_BINARY_DIR}/StackFrames.S)
set (FramesProgram ${PROJECT_SOURCE_DIR}/Tools/stackframes/stackframes.py)
add_custom_command (
  OUTPUT ${Frames}
  COMMAND python3 ${FramesProgram} $<TARGET_FILE:QsmImage>
          ${PROJECT_BINARY_DIR}/VelmoraQsmErrorHandler.map ${Frames}
  DEPENDS ${FramesProgram} QsmImage
  VERBATIM)
add_library (QsmFrames OBJECT ${Frames})
target_link_libraries (QsmFrames PRIVATE qsm_driver_options)
# Their object has a section of code without code, which goes ahead so as to move nothing.
qsm_link_image (QsmTwin VelmoraQsmErrorHandler.debug 0 $<TARGET_OBJECTS:QsmFrames> ${Modules})
target_link_options (QsmTwin PRIVATE /debug:dwarf)

qsm_link_image (QsmRelinkedImage Relinked 0x10000000000 ${Modules})
qsm_link_image (InventoryImage SystemInventory 0
                ${PROJECT_SOURCE_DIR}/Platform/Modules/SystemInventory.cpp)
target_link_libraries (InventoryImage PRIVATE qsm_include qsm_driver_options)

# qsm_add_build_program (NAME INCLUDE d... SOURCES s...): build/image/NAME, a program that runs on this
# machine while the image is built: the same compiler without the image's options. It is built anew
# after a change of any header there: a compiler that takes several sources lists those of one alone.
function (qsm_add_build_program NAME)
  cmake_parse_arguments (ARG "" "" "INCLUDE;SOURCES" ${ARGN})
  list (TRANSFORM ARG_INCLUDE PREPEND ${PROJECT_SOURCE_DIR}/)
  set (PATTERNS ${PROJECT_SOURCE_DIR}/Include/*/*.h)
  foreach (DIRECTORY IN LISTS ARG_INCLUDE ITEMS ${PROJECT_SOURCE_DIR}/Include)
    list (APPEND PATTERNS ${DIRECTORY}/*.h)
  endforeach ()
  file (GLOB HEADERS CONFIGURE_DEPENDS ${PATTERNS})
  list (TRANSFORM ARG_INCLUDE PREPEND -I)
  list (TRANSFORM ARG_SOURCES PREPEND ${PROJECT_SOURCE_DIR}/)
  add_custom_command (
    OUTPUT ${PROJECT_BINARY_DIR}/${NAME}
    COMMAND ${CMAKE_CXX_COMPILER} -std=c++20 -O1 "-DQSM_VERSION=\"${PROJECT_VERSION}\""
            -I${PROJECT_SOURCE_DIR}/Include ${ARG_INCLUDE}
            -o ${PROJECT_BINARY_DIR}/${NAME} ${ARG_SOURCES}
    DEPENDS ${ARG_SOURCES} ${HEADERS}
    VERBATIM)
endfunction ()
qsm_add_build_program (
  imagecheck
  INCLUDE Platform/Image
  SOURCES Tools/imagecheck/Main.cpp Tools/imagecheck/ImageCheck.cpp Platform/Image/ImageLoader.cpp)
qsm_add_build_program (
  firmwarefile
  INCLUDE Platform/Modules Platform/Volume VelmoraQsmErrorHandler
  SOURCES Tools/firmwarefile/Main.cpp Platform/Volume/VolumeWriter.cpp)

set (CheckedStamp ${PROJECT_BINARY_DIR}/image-checked)
add_custom_command (
  OUTPUT ${CheckedStamp}
  COMMAND ${PROJECT_BINARY_DIR}/imagecheck $<TARGET_FILE:QsmImage> $<TARGET_FILE:QsmRelinkedImage>
          $<TARGET_FILE:QsmTwin>
  COMMAND ${CMAKE_COMMAND} -E touch ${CheckedStamp}
  DEPENDS ${PROJECT_BINARY_DIR}/imagecheck QsmImage QsmRelinkedImage QsmTwin
  COMMENT "Checking the image"
  VERBATIM)
add_custom_target (QsmImageCheck ALL DEPENDS ${CheckedStamp})

# qsm_add_firmware_file (TARGET NAME): build/image/NAME.ffs of the image NAME.efi that TARGET links, and
# the dependency expression in it as NAME.depex.
function (qsm_add_firmware_file TARGET NAME)
  set (Files ${PROJECT_BINARY_DIR}/${NAME}.ffs ${PROJECT_BINARY_DIR}/${NAME}.depex)
  add_custom_command (
    OUTPUT ${Files}
    COMMAND ${PROJECT_BINARY_DIR}/firmwarefile module ${NAME} ${PROJECT_VERSION}
            $<TARGET_FILE:${TARGET}> ${Files}
    DEPENDS ${PROJECT_BINARY_DIR}/firmwarefile ${TARGET}
    VERBATIM)
  add_custom_target (${TARGET}File ALL DEPENDS ${Files})
endfunction ()
qsm_add_firmware_file (QsmImage VelmoraQsmErrorHandler)
qsm_add_firmware_file (InventoryImage SystemInventory)
