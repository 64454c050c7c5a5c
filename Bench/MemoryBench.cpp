/// The driver's memory and text primitives beside the C library's.

#include <cstdlib>
#include <cstring>

#include <benchmark/benchmark.h>

#include "BaseLib.h"
#include "BaseMemoryLibOptDxe.h"

namespace {

constexpr UINTN SizeMax = UINTN{16} << 20;

/// Page-aligned memory of the largest size, full of text; it lasts as long as the program.
CHAR8 *
MakeBuffer ()
{
  auto *Buffer = static_cast<CHAR8 *> (std::aligned_alloc (4096, SizeMax));
  std::memset (Buffer, 'x', SizeMax);
  return Buffer;
}

CHAR8 *const mTo = MakeBuffer ();
CHAR8 *const mFrom = MakeBuffer ();

template <typename Operation>
void
Run (benchmark::State &State, Operation &&Operate)
{
  const auto Size = static_cast<UINTN> (State.range (0));
  for ([[maybe_unused]] const auto Iteration : State) {
    Operate (mTo, mFrom, Size);
    benchmark::ClobberMemory ();
  }
  State.SetBytesProcessed (State.iterations () * State.range (0));
}

// Through a pointer, so that the compiler puts nothing in place of the library's function.
void *(*volatile LibraryCopy) (void *, const void *, size_t) = std::memmove;
void *(*volatile LibrarySet) (void *, int, size_t) = std::memset;
size_t (*volatile LibraryLength) (const char *) = std::strlen;

#define PAIR(Name, Ours, Theirs)                                                    \
  void Name (benchmark::State &State)                                               \
  {                                                                                 \
    Run (State, [] (CHAR8 *To, CHAR8 *From, UINTN Size) {                           \
      (void)From;                                                                   \
      benchmark::DoNotOptimize (Ours);                                              \
    });                                                                             \
  }                                                                                 \
  void Name##Library (benchmark::State &State)                                      \
  {                                                                                 \
    Run (State, [] (CHAR8 *To, CHAR8 *From, UINTN Size) {                           \
      (void)From;                                                                   \
      benchmark::DoNotOptimize (Theirs);                                            \
    });                                                                             \
  }                                                                                 \
  BENCHMARK (Name)->RangeMultiplier (8)->Range (1, static_cast<int64_t> (SizeMax)); \
  BENCHMARK (Name##Library)->RangeMultiplier (8)->Range (1, static_cast<int64_t> (SizeMax))

PAIR (CopyMemory, CopyMem (To, From, Size), LibraryCopy (To, From, Size));
PAIR (ZeroMemory, ZeroMem (To, Size), LibrarySet (To, 0, Size));
PAIR (SetMemory, SetMem (To, Size, 0x5A), LibrarySet (To, 0x5A, Size));

/// The length of a text of Size bytes with its NUL, which is put into the buffer for the time.
template <typename Operation>
void
RunLength (benchmark::State &State, Operation &&Length)
{
  CHAR8 *Text = mFrom;
  const auto Size = static_cast<UINTN> (State.range (0));
  Text[Size - 1] = '\0';
  for ([[maybe_unused]] const auto Iteration : State) {
    benchmark::DoNotOptimize (Length (Text));
  }
  Text[Size - 1] = 'x';
  State.SetBytesProcessed (State.iterations () * State.range (0));
}

void
TextLength (benchmark::State &State)
{
  RunLength (State, [] (const CHAR8 *Text) { return AsciiStrLen (Text); });
}

void
TextLengthLibrary (benchmark::State &State)
{
  RunLength (State, [] (const CHAR8 *Text) { return LibraryLength (Text); });
}

BENCHMARK (TextLength)->RangeMultiplier (8)->Range (1, static_cast<int64_t> (SizeMax));
BENCHMARK (TextLengthLibrary)->RangeMultiplier (8)->Range (1, static_cast<int64_t> (SizeMax));

} // namespace
