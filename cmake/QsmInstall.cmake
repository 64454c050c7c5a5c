# "cmake --install": the tools with what they need, under any prefix, and their manual. The image and
# the ROM come from their own builds; scripts/install makes all of it.

set (ProductDirectory lib/${PROJECT_NAME})
install (TARGETS qsmsim qsmmachine qsmbmc RUNTIME DESTINATION bin)
install (TARGETS QsmDriver LIBRARY DESTINATION ${ProductDirectory})
install (
  FILES ${PROJECT_SOURCE_DIR}/build/machine/VelmoraMachine.rom
        ${PROJECT_SOURCE_DIR}/build/machine/VelmoraMachine.debug.elf
        ${PROJECT_SOURCE_DIR}/build/machine/MachineBoot.map
        ${PROJECT_SOURCE_DIR}/build/machine/MachineSmm.map
        ${PROJECT_SOURCE_DIR}/build/image/VelmoraQsmErrorHandler.efi
        ${PROJECT_SOURCE_DIR}/build/image/VelmoraQsmErrorHandler.ffs
        ${PROJECT_SOURCE_DIR}/build/image/VelmoraQsmErrorHandler.depex
        ${PROJECT_SOURCE_DIR}/build/image/VelmoraQsmErrorHandler.map
        ${PROJECT_SOURCE_DIR}/build/image/VelmoraQsmErrorHandler.debug.efi
        ${PROJECT_SOURCE_DIR}/build/image/SystemInventory.ffs
        ${PROJECT_SOURCE_DIR}/build/image/SystemInventory.map
  DESTINATION ${ProductDirectory})
file (GLOB Descriptions ${PROJECT_SOURCE_DIR}/Platform/Data/*.json)
install (FILES ${Descriptions} DESTINATION share/${PROJECT_NAME}/platforms)
install (FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION share/doc/${PROJECT_NAME})
foreach (Tool qsmsim qsmmachine qsmbmc)
  install (FILES ${PROJECT_SOURCE_DIR}/Tools/Common/completion.bash
           DESTINATION share/bash-completion/completions RENAME ${Tool})
endforeach ()

# qsm_add_manual_page (TITLE TOOL [COMMAND...]): the manual page of the tool or of one of its commands.
function (qsm_add_manual_page TITLE TOOL)
  string (JOIN - Name ${TOOL} ${ARGN})
  set (Page ${PROJECT_BINARY_DIR}/manual/${Name}.1)
  set (Program ${PROJECT_SOURCE_DIR}/scripts/lib/manual-page)
  add_custom_command (
    OUTPUT ${Page}
    COMMAND ${Program} ${Page} ${TITLE} $<TARGET_FILE:${TOOL}> ${ARGN}
    DEPENDS ${Program} ${TOOL}
    VERBATIM)
  set_property (GLOBAL APPEND PROPERTY QSM_MANUAL_PAGES ${Page})
endfunction ()
qsm_add_manual_page ("run a driver for hardware errors on a simulated platform" qsmsim)
qsm_add_manual_page ("report error records to the driver" qsmsim report)
qsm_add_manual_page ("print what an event of the driver says" qsmsim decode)
qsm_add_manual_page ("print what a boot of the platform has built" qsmsim show)
qsm_add_manual_page ("write an error record" qsmsim make)
foreach (Section memory pcie processor other)
  qsm_add_manual_page ("write an error record with one section" qsmsim make ${Section})
endforeach ()
qsm_add_manual_page ("run the driver's image on an emulated server" qsmmachine)
qsm_add_manual_page ("a BMC that takes the driver's events" qsmbmc)

get_property (Pages GLOBAL PROPERTY QSM_MANUAL_PAGES)
add_custom_target (ManualPages ALL DEPENDS ${Pages})
install (FILES ${Pages} DESTINATION share/man/man1)
