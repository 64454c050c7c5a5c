#include "PrintFuzzer.h"

#include <gtest/gtest.h>

namespace {

TEST (PrintFuzz, AgreesWithTheModelAndTheLibraryOnRandomFormats)
{
  for (const UINT64 Seed : {1ULL, 2ULL, 3ULL}) {
    EXPECT_EQ (FuzzPrint (Seed, 0, 30000), "");
  }
}

} // namespace
