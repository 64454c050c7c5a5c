#include "BaseLibInternal.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr AssertionSite ValueNotZero = {"MdePkg/Library/BaseLib/LongJump", 35, "Value != 0"};

} // namespace

VOID EFIAPI
LongJump (JumpBuffer *Buffer, UINTN Value)
{
  InternalAssertJumpBuffer (Buffer);
  ASSERT (Value != 0, ValueNotZero);
  while (Buffer == nullptr) {
    CpuDeadLoop ();
  }
  InternalLongJump (Buffer, Value);
}
