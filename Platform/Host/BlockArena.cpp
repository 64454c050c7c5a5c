#include "BlockArena.h"

#include <sanitizer/asan_interface.h>

namespace {

/// A block lies this far behind the start of its stretch; the next stretch's red zone follows it.
constexpr UINTN RedZone = 24;
constexpr UINTN StretchAlignment = 16;
static_assert (RedZone % StretchAlignment == 8);

/// Size of the stretch that a block of so many bytes takes.
UINTN
StretchSize (UINTN Bytes)
{
  return (RedZone + Bytes + StretchAlignment - 1) / StretchAlignment * StretchAlignment;
}

} // namespace

BlockArena::BlockArena (UINTN Bytes)
    : TotalSize (Bytes), Memory (new UINT8[Bytes]), Free ({{0, Bytes - RedZone}})
{
  ASAN_POISON_MEMORY_REGION (Memory.get (), TotalSize);
}

BlockArena::~BlockArena ()
{
  ASAN_UNPOISON_MEMORY_REGION (Memory.get (), TotalSize);
}

/// The first free stretch of that size from the cursor on, then from the start.
BlockArena::Stretches::iterator
BlockArena::FindRoom (UINTN Needed)
{
  const auto First = Free.lower_bound (Cursor);
  auto Candidate = First;
  for (UINTN Tried = 0; Tried < Free.size (); ++Tried) {
    if (Candidate == Free.end ()) {
      Candidate = Free.begin ();
    }
    if (Candidate->second >= Needed) {
      return Candidate;
    }
    ++Candidate;
  }
  return Free.end ();
}

void *
BlockArena::Take (UINTN Bytes)
{
  if (Bytes > TotalSize) {
    return nullptr;
  }
  const std::lock_guard Guard (Lock);
  const UINTN Needed = StretchSize (Bytes);
  const auto Room = FindRoom (Needed);
  if (Room == Free.end ()) {
    return nullptr;
  }
  const auto [Offset, Available] = *Room;
  Free.erase (Room);
  if (Available > Needed) {
    Free[Offset + Needed] = Available - Needed;
  }
  Cursor = Offset + Needed;
  UINT8 *Block = Memory.get () + Offset + RedZone;
  ASAN_UNPOISON_MEMORY_REGION (Block, Bytes);
  return Block;
}

void
BlockArena::Return (void *Block, UINTN Bytes)
{
  const std::lock_guard Guard (Lock);
  ASAN_POISON_MEMORY_REGION (Block, Bytes);
  const auto Offset = static_cast<UINTN> (static_cast<UINT8 *> (Block) - Memory.get ()) - RedZone;
  const auto Added = Free.emplace (Offset, StretchSize (Bytes)).first;
  const auto Next = std::next (Added);
  if (Next != Free.end () && Added->first + Added->second == Next->first) {
    Added->second += Next->second;
    Free.erase (Next);
  }
  if (Added != Free.begin ()) {
    const auto Previous = std::prev (Added);
    if (Previous->first + Previous->second == Added->first) {
      Previous->second += Added->second;
      Free.erase (Added);
    }
  }
}

const UINT8 *
BlockArena::Begin () const
{
  return Memory.get ();
}

UINTN
BlockArena::Size () const
{
  return TotalSize;
}
