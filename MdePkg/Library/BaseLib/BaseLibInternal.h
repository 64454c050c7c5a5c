/// What the sources of this module share with its assembly.
#pragma once

#include "BaseLib.h"

extern "C" {

/// Asserts that Buffer can be a jump buffer: not null and on an 8-byte boundary.
VOID EFIAPI InternalAssertJumpBuffer (const JumpBuffer *Buffer);

/// LongJump behind its checks.
[[noreturn]] VOID EFIAPI InternalLongJump (const JumpBuffer *Buffer, UINTN Value);
}
