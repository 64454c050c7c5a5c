#include "BaseMemoryLibOptDxeInternal.h"
#include "Unaligned.h"

VOID *EFIAPI
InternalMemSetMem (VOID *Buffer, UINTN Length, UINT8 Value)
{
  const UINT64 Pattern = Value * 0x0101010101010101ULL;
  auto *Words = static_cast<Unaligned<UINT64> *> (Buffer);
  for (UINTN Count = Length / sizeof (Pattern); Count != 0; --Count) {
    (Words++)->Value = Pattern;
  }
  auto *Bytes = reinterpret_cast<UINT8 *> (Words);
  for (UINTN Count = Length % sizeof (Pattern); Count != 0; --Count) {
    *Bytes++ = Value;
  }
  return Buffer;
}

VOID *EFIAPI
InternalMemZeroMem (VOID *Buffer, UINTN Length)
{
  return InternalMemSetMem (Buffer, Length, 0);
}
