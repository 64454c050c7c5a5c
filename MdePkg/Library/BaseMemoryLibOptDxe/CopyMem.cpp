#include "BaseMemoryLibOptDxeInternal.h"

namespace {

constexpr UINTN BlockSize = 16;

/// Whether an upward copy would overwrite source bytes that it has yet to read.
bool
OverlapsUpward (const UINT8 *Destination, const UINT8 *Source, UINTN Length)
{
  const UINTN To = reinterpret_cast<UINTN> (Destination);
  const UINTN From = reinterpret_cast<UINTN> (Source);
  return From < To && From + (Length - 1) >= To;
}

bool
IsBlockAligned (const UINT8 *Address)
{
  return reinterpret_cast<UINTN> (Address) % BlockSize == 0;
}

} // namespace

VOID *EFIAPI
InternalMemCopyMem (VOID *DestinationBuffer, const VOID *SourceBuffer, UINTN Length)
{
  auto *Destination = static_cast<UINT8 *> (DestinationBuffer);
  const auto *Source = static_cast<const UINT8 *> (SourceBuffer);

  if (OverlapsUpward (Destination, Source, Length)) {
    for (UINTN Index = Length; Index != 0; --Index) {
      Destination[Index - 1] = Source[Index - 1];
    }
    return DestinationBuffer;
  }

  for (; Length != 0 && !IsBlockAligned (Destination); --Length) {
    *Destination++ = *Source++;
  }
  if (const UINTN BlockCount = Length / BlockSize; BlockCount != 0) {
    InternalMemCopyBlocks (Destination, Source, BlockCount);
    Destination += BlockCount * BlockSize;
    Source += BlockCount * BlockSize;
  }
  for (Length %= BlockSize; Length != 0; --Length) {
    *Destination++ = *Source++;
  }
  return DestinationBuffer;
}
