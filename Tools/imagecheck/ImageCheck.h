/// What the production image promises to firmware that has no linker, no C run-time and no
/// exception handling, tested on the bytes of the file.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "Base.h"

/// The most that the file may take of the flash, in bytes.
inline constexpr UINTN ImageFileSizeMax = 48 * 1024;

/// Returns one sentence for each promise that the image File breaks, none for a sound one.
/// RelinkedFile holds the same objects linked for another base address: loaded to one address the
/// two must not differ, or an absolute pointer is without its relocation.
std::vector<std::string> CheckImage (std::span<const UINT8> File,
                                     std::span<const UINT8> RelinkedFile);

/// Returns one sentence for each way in which TwinFile, the image with its debug data, would tell a
/// debugger of another program than the image File: all sections of the image must be in it, at the
/// same addresses and byte for byte. Only the debug directory may follow in one of them.
std::vector<std::string> CheckTwin (std::span<const UINT8> File, std::span<const UINT8> TwinFile);
