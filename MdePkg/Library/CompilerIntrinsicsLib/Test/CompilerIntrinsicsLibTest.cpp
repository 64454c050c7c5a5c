#include <algorithm>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "Base.h"

extern "C" {
// The functions under test, by the names that the host's build gives them.
VOID *QsmMemcpy (VOID *Destination, const VOID *Source, size_t Length);
VOID *QsmMemmove (VOID *Destination, const VOID *Source, size_t Length);
VOID *QsmMemset (VOID *Destination, int Value, size_t Length);
int QsmMemcmp (const VOID *First, const VOID *Second, size_t Length);
}

namespace {

TEST (CompilerIntrinsics, CopiesMovesAndSetsEverySize)
{
  constexpr UINTN Middle = 40;
  std::vector<UINT8> Original (120);
  std::iota (Original.begin (), Original.end (), UINT8{1});
  for (UINTN Length = 0; Length <= 32; ++Length) {
    for (UINTN From = 0; From <= 2 * Middle; ++From) {
      std::vector<UINT8> Copied = Original, Moved = Original, Set = Original, Expected = Original;
      std::copy_n (&Original[From], Length, &Expected[Middle]);
      EXPECT_EQ (QsmMemcpy (&Copied[Middle], &Original[From], Length), &Copied[Middle]);
      EXPECT_EQ (QsmMemmove (&Moved[Middle], &Moved[From], Length), &Moved[Middle]);
      EXPECT_EQ (Copied, Expected) << Length << " bytes from " << From;
      EXPECT_EQ (Moved, Expected) << Length << " bytes from " << From;
      Expected = Original;
      std::fill_n (&Expected[From], Length, 0xFE);
      EXPECT_EQ (QsmMemset (&Set[From], -2, Length), &Set[From]);
      EXPECT_EQ (Set, Expected) << Length << " bytes at " << From;
    }
  }
}

TEST (CompilerIntrinsics, ComparesUnsignedBytesUpToTheFirstDifference)
{
  for (UINTN Difference = 0; Difference < 16; ++Difference) {
    std::vector<UINT8> Less (16, 0x7F);
    std::vector<UINT8> More = Less;
    More[Difference] = 0x80;
    Less.back () = Difference == 15 ? Less.back () : 0xFF;
    EXPECT_LT (QsmMemcmp (Less.data (), More.data (), 16), 0);
    EXPECT_GT (QsmMemcmp (More.data (), Less.data (), 16), 0);
    EXPECT_EQ (QsmMemcmp (More.data (), Less.data (), Difference), 0);
  }
}

} // namespace
