/// Loads a PE32+ image into memory, as the firmware that starts the driver does. Freestanding.
///
/// Functions that can fail return null, or a text that says what is wrong with the file.
#pragma once

#include "Uefi/PeImage.h"

/// An image file whose structure is sound: every offset, address and size in its headers lies where
/// it may, and the entry point in code. Points into the file, which the caller keeps.
struct ImageFile {
  const UINT8 *Bytes;
  const PeHeaders *Headers;
  const SectionHeader *Sections;
};

/// Looks over the headers of the Size bytes at Bytes and fills Image.
[[nodiscard]] const CHAR8 *OpenImage (const UINT8 *Bytes, UINTN Size, ImageFile &Image);

/// Lays an image out in the Headers->ImageSize bytes at Memory, made to run at LoadAddress; the two
/// differ where another processor's or process's memory is prepared. An image whose relocations
/// were stripped runs at its ImageBase only.
[[nodiscard]] const CHAR8 *PlaceImage (const ImageFile &Image, UINT8 *Memory, UINT64 LoadAddress);
