/// The driver's print formatter beside the C library's, each in its own format language.

#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "PrintLib.h"

namespace {

constexpr UINTN Room = 256;

// Through a pointer, so that the compiler puts nothing in place of the library's function; both, so
// that both pay for it.
UINTN (EFIAPI *volatile Print) (CHAR8 *, UINTN, const CHAR8 *, ...) = AsciiSPrint;
int (*volatile LibraryPrint) (char *, size_t, const char *, ...) = std::snprintf;

// Read anew in each pass, so that no argument is a constant.
volatile UINT32 mSmall = 7;
volatile UINT32 mLarge = 4000000000;
volatile UINT64 mAddress = 0xFED10000A5A5F00D;
const CHAR8 *volatile mWord = "Leaf";
const CHAR8 *volatile mText = "a text of the forty characters of a line";
const EFI_GUID mGuid = {
    0x8868E871, 0xE4F1, 0x11D3, {0xBC, 0x22, 0x00, 0x80, 0xC7, 0x3C, 0x88, 0x81}};

#define PAIR(Name, OurArguments, TheirArguments)              \
  void Name (benchmark::State &State)                         \
  {                                                           \
    CHAR8 Line[Room];                                         \
    for ([[maybe_unused]] const auto Iteration : State) {     \
      benchmark::DoNotOptimize (Print OurArguments);          \
      benchmark::ClobberMemory ();                            \
    }                                                         \
  }                                                           \
  void Name##Library (benchmark::State &State)                \
  {                                                           \
    char Line[Room];                                          \
    for ([[maybe_unused]] const auto Iteration : State) {     \
      benchmark::DoNotOptimize (LibraryPrint TheirArguments); \
      benchmark::ClobberMemory ();                            \
    }                                                         \
  }                                                           \
  BENCHMARK (Name);                                           \
  BENCHMARK (Name##Library)

#define SAME(Name, ...) PAIR (Name, (Line, Room, __VA_ARGS__), (Line, Room, __VA_ARGS__))

// Lines of the log.
SAME (ThreadLine, "S%d C%d T%d ", mSmall, mLarge, mSmall);
PAIR (StatusLine,
      (Line, Room, "%a, %r\n", mWord, EfiErrorCode (14)),
      (Line, Room, "%s, %s\n", mWord, "Not Found"));
SAME (AddressLine,
      "SktId = 0x%x,Port = 0x%x, Bus = 0x%x,Device = 0x%x,Function = 0x%x \n",
      mSmall,
      mSmall,
      mSmall,
      mSmall,
      mSmall);
SAME (PlainLine, "a line that has no directive in it at all\n");

// Single conversions.
SAME (ShortDecimal, "%d", mSmall);
SAME (LongDecimal, "%u", mLarge);
SAME (Hexadecimal, "%x", mLarge);
SAME (PaddedHexadecimal, "%08x", mSmall);
PAIR (WideHexadecimal, (Line, Room, "%lx", mAddress), (Line, Room, "%lX", mAddress));
PAIR (ShortString, (Line, Room, "%a", mWord), (Line, Room, "%s", mWord));
PAIR (LongString, (Line, Room, "%a", mText), (Line, Room, "%s", mText));
PAIR (PaddedString, (Line, Room, "%20a", mWord), (Line, Room, "%20s", mWord));
PAIR (Guid,
      (Line, Room, "%g", &mGuid),
      (Line,
       Room,
       "%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X",
       mGuid.Data1,
       mGuid.Data2,
       mGuid.Data3,
       mGuid.Data4[0],
       mGuid.Data4[1],
       mGuid.Data4[2],
       mGuid.Data4[3],
       mGuid.Data4[4],
       mGuid.Data4[5],
       mGuid.Data4[6],
       mGuid.Data4[7]));

// One directive for texts of all lengths.
template <typename Function>
void
PrintText (benchmark::State &State, Function *volatile &Printer, const char *Format)
{
  const std::string Text (static_cast<std::size_t> (State.range (0)), 'x');
  char Line[Room];
  for ([[maybe_unused]] const auto Iteration : State) {
    benchmark::DoNotOptimize (Printer (Line, Room, Format, Text.c_str ()));
    benchmark::ClobberMemory ();
  }
}

void
Text (benchmark::State &State)
{
  PrintText (State, Print, "%a");
}

void
TextLibrary (benchmark::State &State)
{
  PrintText (State, LibraryPrint, "%s");
}

BENCHMARK (Text)->RangeMultiplier (2)->Range (1, 128);
BENCHMARK (TextLibrary)->RangeMultiplier (2)->Range (1, 128);

} // namespace
