/// The files of the image's build, for tests.
#pragma once

#include <vector>

#include "Base.h"

/// The production image, its twin with debug data, and the same objects linked for another base
/// address.
inline constexpr char ImageName[] = "VelmoraQsmErrorHandler.efi";
inline constexpr char TwinImageName[] = "VelmoraQsmErrorHandler.debug.efi";
inline constexpr char RelinkedImageName[] = "Relinked.efi";

/// Reads a file that scripts/image has built; fails the test if there is none. The environment
/// variable QSM_IMAGE_DIRECTORY names another place than the build's.
std::vector<UINT8> ReadBuiltFile (const char *Name);
