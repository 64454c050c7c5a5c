#include "Unaligned.h"

#include "BaseLib.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/BaseLib/Unaligned";
constexpr CHAR8 BufferNotNullText[] = "Buffer != ((void *) 0)";
constexpr AssertionSite Read16BufferNotNull = {SourceFile, 30, BufferNotNullText};
constexpr AssertionSite Read64BufferNotNull = {SourceFile, 184, BufferNotNullText};
constexpr AssertionSite Write64BufferNotNull = {SourceFile, 211, BufferNotNullText};

} // namespace

UINT16 EFIAPI
ReadUnaligned16 (const UINT16 *Buffer)
{
  ASSERT (Buffer != nullptr, Read16BufferNotNull);
  return reinterpret_cast<const Unaligned<UINT16> *> (Buffer)->Value;
}

UINT64 EFIAPI
ReadUnaligned64 (const UINT64 *Buffer)
{
  ASSERT (Buffer != nullptr, Read64BufferNotNull);
  return reinterpret_cast<const Unaligned<UINT64> *> (Buffer)->Value;
}

UINT64 EFIAPI
WriteUnaligned64 (UINT64 *Buffer, UINT64 Value)
{
  ASSERT (Buffer != nullptr, Write64BufferNotNull);
  reinterpret_cast<Unaligned<UINT64> *> (Buffer)->Value = Value;
  return Value;
}
