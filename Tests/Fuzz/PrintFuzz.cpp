/// Runs the print engine against its model on random cases for as long as one likes.
///
///   PrintFuzz [ROUNDS [SEED]]
///
/// A round is a million cases, each from a seed of its own: SEED, or 1, and those that follow.
/// Names each seed before its round, so that the last name is that of a crash. Exits with 1 at the
/// first difference.

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
  constexpr UINT64 CasesPerRound = 1000000;
  const UINT64 Rounds = Count > 1 ? std::strtoull (Arguments[1], nullptr, 0) : 1;
  const UINT64 First = Count > 2 ? std::strtoull (Arguments[2], nullptr, 0) : 1;
  std::setbuf (stdout, nullptr);
  for (UINT64 Seed = First; Seed != First + Rounds; ++Seed) {
    std::printf ("seed %llu: ", Seed);
    const std::string Problem = FuzzPrint (Seed, CasesPerRound);
    std::printf ("%s\n", Problem.empty () ? "1000000 cases agree" : Problem.c_str ());
    if (!Problem.empty ()) {
      return 1;
    }
  }
  return 0;
}
