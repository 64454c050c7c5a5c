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
  // There is nowhere to go and no way back to a caller that does not expect one, so not even a
  // debugger that ends the dead loop gets past it.
  while (Buffer == nullptr) {
    CpuDeadLoop ();
  }
  InternalLongJump (Buffer, Value);
}
