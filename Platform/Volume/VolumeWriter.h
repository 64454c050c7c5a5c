/// Makes firmware files and volumes (PI 1.8, volume 3). The same input gives the same bytes.
#pragma once

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Uefi/FirmwareVolume.h"

using FirmwareBytes = std::vector<UINT8>;

/// An SMM module as a file of a volume.
struct SmmModuleFile {
  EFI_GUID Name;
  std::string Title;        ///< Its name for people, ASCII.
  std::string Version;      ///< ASCII.
  FirmwareBytes Dependency; ///< An expression.
  FirmwareBytes Image;      ///< PE32+.
};

/// The expression that holds when all of the protocols are there; TRUE for none.
FirmwareBytes DependencyOnAll (std::span<const EFI_GUID *const> Protocols);

/// A file of type EFI_FV_FILETYPE_MM with a dependency, a PE32, a user interface and a version
/// section in this order. Throws std::length_error when it would have 16 MiB or more.
FirmwareBytes MakeModuleFile (const SmmModuleFile &Module);

/// A volume of the files. Each begins a block of its own, as on flash, where it could be written
/// anew without the others; padding files fill what is between them.
FirmwareBytes MakeVolume (std::span<const FirmwareBytes> Files);

/// Gives a finished file another name.
void RenameFile (FirmwareBytes &File, const EFI_GUID &Name);
