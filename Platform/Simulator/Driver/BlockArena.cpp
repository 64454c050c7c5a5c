#include "BlockArena.h"

#include <new>
#include <stdexcept>

#include <sanitizer/asan_interface.h>
#include <sys/mman.h>

namespace {

/// A block lies this far behind the start of its stretch; the next stretch's red zone follows it.
constexpr UINTN RedZone = 24;
constexpr UINTN StretchAlignment = 16;
constexpr UINTN PageSize = 4096;
static_assert (RedZone % StretchAlignment == 8);

/// Size of the stretch that a block of so many bytes takes.
UINTN
StretchSize (UINTN Bytes)
{
  return (RedZone + Bytes + StretchAlignment - 1) / StretchAlignment * StretchAlignment;
}

/// Size of the whole pages that hold so many bytes.
UINTN
PagesSize (UINTN Bytes)
{
  return (Bytes + PageSize - 1) / PageSize * PageSize;
}

/// A heap block, for then AddressSanitizer can tell what lies at an address in it.
UINT8 *
TakePages (UINTN Bytes)
{
  return static_cast<UINT8 *> (::operator new (PagesSize (Bytes), std::align_val_t{PageSize}));
}

} // namespace

BlockArena::BlockArena (UINTN Bytes)
    : TotalSize (Bytes), Memory (TakePages (Bytes)), Free ({{0, Bytes - RedZone}})
{
  ASAN_POISON_MEMORY_REGION (Memory, TotalSize);
}

BlockArena::~BlockArena ()
{
  ASAN_UNPOISON_MEMORY_REGION (Memory, TotalSize);
  (void)mprotect (Memory, SealedSize, PROT_READ | PROT_WRITE);
  ::operator delete (Memory, std::align_val_t{PageSize});
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
  UINT8 *Block = Memory + Offset + RedZone;
  ASAN_UNPOISON_MEMORY_REGION (Block, Bytes);
  return Block;
}

void
BlockArena::Return (void *Block, UINTN Bytes)
{
  const std::lock_guard Guard (Lock);
  ASAN_POISON_MEMORY_REGION (Block, Bytes);
  const auto Offset = static_cast<UINTN> (static_cast<UINT8 *> (Block) - Memory) - RedZone;
  if (Offset < SealedSize) {
    return;
  }
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

void
BlockArena::Seal ()
{
  const std::lock_guard Guard (Lock);
  UINTN UsedSize = TotalSize;
  if (!Free.empty () && Free.rbegin ()->first + Free.rbegin ()->second == TotalSize - RedZone) {
    UsedSize = Free.rbegin ()->first;
  }
  SealedSize = PagesSize (UsedSize);
  Free.clear ();
  if (SealedSize + RedZone < TotalSize) {
    Free[SealedSize] = TotalSize - RedZone - SealedSize;
  }
  Cursor = SealedSize;
  if (mprotect (Memory, SealedSize, PROT_READ) != 0) {
    throw std::runtime_error ("a pool cannot be protected");
  }
}

const UINT8 *
BlockArena::Begin () const
{
  return Memory;
}

UINTN
BlockArena::Size () const
{
  return TotalSize;
}
