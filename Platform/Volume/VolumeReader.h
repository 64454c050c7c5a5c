/// Finds the SMM modules in a firmware volume (PI 1.8, volume 3). Freestanding.
///
/// Every length, offset and checksum of the volume is checked ahead of its use, so that bytes of
/// any content are either read as they are meant or refused.
#pragma once

#include "Uefi/FirmwareVolume.h"
#include "VolumeFault.h"

/// Part of a file, within the volume's bytes. Bytes is null where the file does not have it.
struct FilePart {
  const UINT8 *Bytes = nullptr;
  UINTN Size = 0;
};

/// A file of type EFI_FV_FILETYPE_MM. Its parts are the bodies of its sections.
struct SmmModule {
  EFI_GUID Name;
  FilePart Dependency;
  FilePart Image; ///< PE32+, not looked into. Every module has one.
  FilePart Title; ///< Its name for people: UTF-16 from blank to tilde, and a NUL.
};

/// Fills Modules, which has room for Limit, and Count from the Size bytes at Bytes. A volume may
/// have other files as well; they are checked and left out.
[[nodiscard]] VolumeFault
ReadVolume (const UINT8 *Bytes, UINTN Size, SmmModule *Modules, UINTN Limit, UINTN &Count);
