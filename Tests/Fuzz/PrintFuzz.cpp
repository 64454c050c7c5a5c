/// Runs the print engine against its model on random cases for as long as one likes.
///
///   PrintFuzz [--cases N] [--seed S]
///
/// Exits with 0 when all agree, with 1 at a difference, whose case it names, and with 2 on bad
/// usage. Several seeds run side by side as several processes.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "PrintFuzzer.h"
#include "SmmDebugServiceLib.h"

VOID EFIAPI
DebugAssert (const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description)
{
  std::fprintf (stderr, "assertion %s:%llu %s\n", FileName, LineNumber, Description);
  std::abort ();
}

int
main (int Count, char **Arguments)
{
  UINT64 Cases = 1000000;
  UINT64 Seed = 1;
  for (int Index = 1; Index < Count; Index += 2) {
    const std::string Name = Arguments[Index];
    char *End = nullptr;
    const UINT64 Value = Index + 1 < Count ? std::strtoull (Arguments[Index + 1], &End, 0) : 0;
    if ((Name != "--cases" && Name != "--seed") || End == nullptr || *End != '\0') {
      std::fprintf (stderr, "usage: PrintFuzz [--cases N] [--seed S]\n");
      return 2;
    }
    (Name == "--seed" ? Seed : Cases) = Value;
  }

  const std::string Problem = FuzzPrint (Seed, Cases);
  if (!Problem.empty ()) {
    std::fprintf (stderr, "seed %llu: %s\n", Seed, Problem.c_str ());
    return 1;
  }
  std::printf ("%llu cases of seed %llu agree\n", Cases, Seed);
  return 0;
}
