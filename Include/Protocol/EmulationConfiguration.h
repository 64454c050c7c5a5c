/// The protocol whose interface tells on what the firmware runs (silicon or an emulation of it), a
/// closed record.
#pragma once

#include "Base.h"

inline constexpr EFI_GUID gEmulationConfigurationProtocolGuid = {
    0x93E49CE5, 0x789E, 0x4FFE, {0xB9, 0x3A, 0xA8, 0x09, 0xBB, 0xDD, 0x89, 0xF4}};
