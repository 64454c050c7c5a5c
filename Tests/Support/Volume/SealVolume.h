/// Makes the checksums of a volume right whatever else is wrong with it, so that what stands behind
/// them is reached.
#pragma once

#include <algorithm>

#include "VolumeWriter.h"

/// Of the header and of all files that are found by their sizes.
inline void
SealVolume (FirmwareBytes &Volume)
{
  if (Volume.size () < sizeof (EFI_FIRMWARE_VOLUME_HEADER)) {
    return;
  }
  auto &Header = *reinterpret_cast<EFI_FIRMWARE_VOLUME_HEADER *> (Volume.data ());
  const std::size_t Length = std::min<std::size_t> (Header.HeaderLength, Volume.size () & ~1ULL);
  Header.Checksum =
      static_cast<UINT16> (Header.Checksum - FirmwareSum16 (Volume.data (), Length & ~1ULL));
  std::size_t Offset = FirmwareAlign (Header.HeaderLength, EFI_FV_FILE_ALIGNMENT);
  while (Offset + sizeof (EFI_FFS_FILE_HEADER) <= Volume.size ()) {
    auto &File = *reinterpret_cast<EFI_FFS_FILE_HEADER *> (Volume.data () + Offset);
    if (File.State == FFS_ERASED_BYTE) {
      return;
    }
    const std::size_t Size = FirmwareSize (File.Size);
    if (Size >= sizeof File && Size <= Volume.size () - Offset &&
        (File.Attributes & FFS_ATTRIB_CHECKSUM) != 0) {
      File.FileChecksum = static_cast<UINT8> (
          -FirmwareSum8 (Volume.data () + Offset + sizeof File, Size - sizeof File));
    }
    File.HeaderChecksum = static_cast<UINT8> (File.HeaderChecksum - FirmwareHeaderSum (File));
    if (Size < sizeof File) {
      return;
    }
    Offset += FirmwareAlign (Size, EFI_FV_FILE_ALIGNMENT);
  }
}
