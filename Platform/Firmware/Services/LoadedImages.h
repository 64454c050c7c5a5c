/// The images that have been loaded, each with its handle and its loaded image protocol.
#pragma once

#include "Protocol/LoadedImage.h"

inline constexpr UINTN ImageMax = 32;

extern "C" {

VOID LoadedImagesReset ();
}
