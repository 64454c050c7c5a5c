#include "BlockArena.h"

#include "FirmwareWorld.h"

namespace {

constexpr UINTN StretchAlignment = 16;
constexpr UINT64 GuardPattern = 0x5AA5C33C0FF06996;

/// What a stretch starts with. Mark is the guard ahead of a block, and changes with its state.
struct StretchHead {
  UINTN Size; ///< In bytes with this head.
  UINTN Used; ///< Bytes of the block; 0 of a free stretch.
  UINT64 Mark;
};
static_assert (sizeof (StretchHead) % StretchAlignment == 8);

StretchHead *
StretchAt (const BlockArena *Arena, UINTN Offset)
{
  return reinterpret_cast<StretchHead *> (Arena->Start + Offset);
}

/// The guard behind a block, at any address.
UINT8 *
GuardBehind (StretchHead *Stretch)
{
  return reinterpret_cast<UINT8 *> (Stretch + 1) + Stretch->Used;
}

/// Joins a free stretch with the free ones behind it.
VOID
JoinFree (BlockArena *Arena, UINTN Offset)
{
  StretchHead *Stretch = StretchAt (Arena, Offset);
  while (Offset + Stretch->Size < Arena->Size) {
    const StretchHead *Next = StretchAt (Arena, Offset + Stretch->Size);
    if (Next->Used != 0) {
      return;
    }
    if (Arena->Cursor == Offset + Stretch->Size) {
      Arena->Cursor = Offset;
    }
    Stretch->Size += Next->Size;
  }
}

/// Makes a block of Size bytes out of a free stretch if there is room for it.
VOID *
TakeFrom (BlockArena *Arena, UINTN Offset, UINTN Size)
{
  StretchHead *Stretch = StretchAt (Arena, Offset);
  const UINTN Needed = (sizeof (StretchHead) + Size + sizeof GuardPattern + StretchAlignment - 1) /
                       StretchAlignment * StretchAlignment;
  if (Stretch->Used != 0) {
    return nullptr;
  }
  JoinFree (Arena, Offset);
  if (Stretch->Size < Needed) {
    return nullptr;
  }
  const UINTN Left = Stretch->Size - Needed;
  if (Left >= 2 * StretchAlignment) {
    *StretchAt (Arena, Offset + Needed) = {.Size = Left, .Used = 0, .Mark = 0};
    Stretch->Size = Needed;
  }
  Stretch->Used = Size;
  Stretch->Mark = GuardPattern;
  __builtin_memcpy (GuardBehind (Stretch), &GuardPattern, sizeof GuardPattern);
  return Stretch + 1;
}

bool
IsWhole (StretchHead *Stretch, UINTN Size)
{
  if (Stretch->Mark != GuardPattern || Stretch->Used != Size) {
    return false;
  }
  UINT64 Behind;
  __builtin_memcpy (&Behind, GuardBehind (Stretch), sizeof Behind);
  return Behind == GuardPattern;
}

} // namespace

VOID
ArenaReset (BlockArena *Arena, UINT8 *Start, UINTN Size)
{
  *Arena = {.Start = Start, .Size = Size, .Cursor = 0, .Lock = false};
  *StretchAt (Arena, 0) = {.Size = Size, .Used = 0, .Mark = 0};
}

VOID *
ArenaTake (BlockArena *Arena, UINTN Size)
{
  // A block of no bytes is still a block.
  const UINTN Bytes = Size != 0 ? Size : 1;
  if (Bytes > Arena->Size) {
    return nullptr;
  }
  VOID *Block = nullptr;
  TakeLock (Arena->Lock);
  UINTN Offset = Arena->Cursor;
  do {
    Block = TakeFrom (Arena, Offset, Bytes);
    Offset += StretchAt (Arena, Offset)->Size;
    Offset = Offset == Arena->Size ? 0 : Offset;
  } while (Block == nullptr && Offset != Arena->Cursor);
  Arena->Cursor = Offset;
  GiveLock (Arena->Lock);
  return Block;
}

VOID
ArenaReturn (BlockArena *Arena, VOID *Block, UINTN Size)
{
  StretchHead *Stretch = static_cast<StretchHead *> (Block) - 1;
  TakeLock (Arena->Lock);
  const bool Whole = IsWhole (Stretch, Size != 0 ? Size : 1);
  Stretch->Used = 0;
  Stretch->Mark = 0;
  GiveLock (Arena->Lock);
  if (!Whole) {
    FirmwareFault ("a pool block was written outside its bytes");
  }
}
