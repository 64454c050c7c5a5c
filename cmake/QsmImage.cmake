# The production image from the objects of all driver modules, with its map and its checks.

get_property (Modules GLOBAL PROPERTY QSM_DRIVER_MODULES)
list (TRANSFORM Modules REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>")

# qsm_link_image (TARGET NAME BASE): build/image/NAME.efi, linked to run at address BASE, and its map.
# Incremental and timestamp data would make two builds of one source differ.
function (qsm_link_image TARGET NAME BASE)
  add_executable (${TARGET} ${Modules})
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
    /timestamp:0
    /opt:ref,noicf
    /lldmap:${NAME}.map
    /WX)
endfunction ()
qsm_link_image (QsmImage VelmoraQsmErrorHandler 0)
qsm_link_image (QsmRelinkedImage Relinked 0x10000000000)

# The checking program runs on this machine: the same compiler without the image's options.
set (CheckSources ${PROJECT_SOURCE_DIR}/Tools/imagecheck/Main.cpp
                  ${PROJECT_SOURCE_DIR}/Tools/imagecheck/ImageCheck.cpp
                  ${PROJECT_SOURCE_DIR}/Platform/Image/ImageLoader.cpp)
set (CheckProgram ${PROJECT_BINARY_DIR}/imagecheck)
add_custom_command (
  OUTPUT ${CheckProgram}
  COMMAND ${CMAKE_CXX_COMPILER} -std=c++20 -O1 -I${PROJECT_SOURCE_DIR}/Include
          -I${PROJECT_SOURCE_DIR}/Platform/Image -o ${CheckProgram} ${CheckSources}
  DEPENDS ${CheckSources} ${PROJECT_SOURCE_DIR}/Tools/imagecheck/ImageCheck.h
          ${PROJECT_SOURCE_DIR}/Platform/Image/ImageLoader.h
          ${PROJECT_SOURCE_DIR}/Include/Uefi/PeImage.h ${PROJECT_SOURCE_DIR}/Include/Base.h
  VERBATIM)

set (CheckedStamp ${PROJECT_BINARY_DIR}/image-checked)
add_custom_command (
  OUTPUT ${CheckedStamp}
  COMMAND ${CheckProgram} $<TARGET_FILE:QsmImage> $<TARGET_FILE:QsmRelinkedImage>
  COMMAND ${CMAKE_COMMAND} -E touch ${CheckedStamp}
  DEPENDS ${CheckProgram} QsmImage QsmRelinkedImage
  COMMENT "Checking the image"
  VERBATIM)
add_custom_target (QsmImageCheck ALL DEPENDS ${CheckedStamp})
