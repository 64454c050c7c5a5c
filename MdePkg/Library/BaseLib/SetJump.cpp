#include "BaseLibInternal.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/BaseLib/SetJump";
constexpr AssertionSite BufferNotNull = {SourceFile, 28, "JumpBuffer != ((void *) 0)"};
constexpr AssertionSite BufferAligned = {SourceFile, 30, "((UINTN)JumpBuffer & (8 - 1)) == 0"};

} // namespace

VOID EFIAPI
InternalAssertJumpBuffer (const JumpBuffer *Buffer)
{
  ASSERT (Buffer != nullptr, BufferNotNull);
  ASSERT (reinterpret_cast<UINTN> (Buffer) % alignof (JumpBuffer) == 0, BufferAligned);
}
