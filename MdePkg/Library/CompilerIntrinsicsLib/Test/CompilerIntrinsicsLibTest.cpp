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
    const auto Changed = [&] (auto Change) {
      std::vector<UINT8> Bytes = Original;
      EXPECT_EQ (Change (&Bytes[Middle]), &Bytes[Middle]);
      return Bytes;
    };
    for (UINTN From = 0; From <= 2 * Middle; ++From) {
      std::vector<UINT8> Expected = Original;
      std::copy_n (&Original[From], Length, &Expected[Middle]);
      EXPECT_EQ (Changed ([&] (UINT8 *To) { return QsmMemcpy (To, &Original[From], Length); }),
                 Expected);
      EXPECT_EQ (Changed ([&] (UINT8 *To) { return QsmMemmove (To, To + From - Middle, Length); }),
                 Expected)
          << Length << " bytes from " << From;
    }
    std::vector<UINT8> Expected = Original;
    std::fill_n (&Expected[Middle], Length, 0xFE);
    EXPECT_EQ (Changed ([&] (UINT8 *To) { return QsmMemset (To, -2, Length); }), Expected);
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
