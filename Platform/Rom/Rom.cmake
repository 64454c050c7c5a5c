# The emulated machine's ROM: two freestanding images, one of which runs in SMM and lies in the
# other. Both are compiled as the driver is.

# qsm_add_machine_image (TARGET LAYOUT SOURCES s... LIBRARIES l...)
# TARGET.bin in the build directory: the bytes of an image with the layout of that linker script,
# which may use MemoryMap.h. The linker's map, TARGET.map, goes where the ROM is.
function (qsm_add_machine_image TARGET LAYOUT)
  cmake_parse_arguments (ARG "" "" "SOURCES;LIBRARIES" ${ARGN})
  set (Layout ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}.ld)
  add_custom_command (
    OUTPUT ${Layout}
    COMMAND ${CMAKE_CXX_COMPILER} -E -P -x c -I${CMAKE_CURRENT_SOURCE_DIR}/Common -o ${Layout}
            ${CMAKE_CURRENT_SOURCE_DIR}/${LAYOUT}
    DEPENDS ${LAYOUT} Common/DebugSections.ld Common/MemoryMap.h
    VERBATIM)
  add_executable (
    ${TARGET} ${Layout} ${ARG_SOURCES} Common/ExceptionEntry.S Common/ExceptionFrame.cpp
              Common/MachineLog.cpp)
  target_include_directories (${TARGET} PRIVATE Common Errors ../Firmware/Core ../Firmware/Records
                                                ../Firmware/Services ../Modules)
  target_link_libraries (${TARGET} PRIVATE qsm_include qsm_driver_options ${ARG_LIBRARIES}
                                           BasePrintLib BaseLibX64 CompilerIntrinsics)
  target_link_options (${TARGET} PRIVATE -T ${Layout} -Map=${PROJECT_BINARY_DIR}/${TARGET}.map -nostdlib
                       -static --gc-sections --orphan-handling=error -z max-page-size=0x1000
                       --fatal-warnings)
  set_target_properties (${TARGET} PROPERTIES LINKER_LANGUAGE CXX LINK_DEPENDS ${Layout})
  add_custom_command (
    OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}.bin
    COMMAND llvm-objcopy -O binary $<TARGET_FILE:${TARGET}>
            ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}.bin
    DEPENDS ${TARGET}
    VERBATIM)
endfunction ()

qsm_add_machine_image (
  MachineSmm Smm/SmmLayout.ld
  SOURCES Smm/FoundRecord.cpp
          Smm/FoundTopology.cpp
          Smm/MachineWorld.cpp
          Smm/ModuleLoading.cpp
          Smm/SmmEntry.S
          Smm/SmmMain.cpp
          Smm/SmmPaging.cpp
          Smm/SmmTile.cpp
          Smm/SourceTables.cpp
  LIBRARIES Firmware FirmwareVolume HardwareErrors ImageLoader Kcs)

qsm_add_machine_image (
  MachineBoot Boot/BootLayout.ld
  SOURCES Boot/BankFilling.cpp
          Boot/BootExceptions.cpp
          Boot/BootMain.cpp
          Boot/BootStart.S
          Boot/Chipset.cpp
          Boot/ControlChannel.cpp
          Boot/ControlPort.cpp
          Boot/FirmwareConfiguration.cpp
          Boot/InventoryText.cpp
          Boot/LocalApic.cpp
          Boot/PciErrors.cpp
          Boot/PciResources.cpp
          Boot/PciScan.cpp
          Boot/Processors.cpp
          Boot/RelocationHandler.S
          Boot/Reset.S
          Boot/Settings.cpp
          Boot/Sleep.S
          Boot/SmmBlob.S
          Boot/SmmCall.cpp
          Boot/SmmSetUp.cpp
          Boot/TextReader.cpp
          Boot/ThisProcessor.cpp
          Errors/PciCapabilities.cpp)
set_source_files_properties (
  Boot/SmmBlob.S PROPERTIES OBJECT_DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/MachineSmm.bin
                            COMPILE_OPTIONS -I${CMAKE_CURRENT_BINARY_DIR})

# The ROM, and beside it the SMM image with what a debugger reads of it.
set (Rom ${PROJECT_BINARY_DIR}/VelmoraMachine.rom)
add_custom_command (
  OUTPUT ${Rom}
  COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_CURRENT_BINARY_DIR}/MachineBoot.bin ${Rom}
  COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:MachineSmm>
          ${PROJECT_BINARY_DIR}/VelmoraMachine.debug.elf
  DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/MachineBoot.bin
  VERBATIM)
add_custom_target (MachineRom ALL DEPENDS ${Rom})
