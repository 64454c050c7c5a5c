#include "SmmDebugServiceLib.h"

#include "ModuleTestBench.h"
#include "SmmServicesTableLib.h"

namespace {

using SmmDebugServiceLib = ModuleTestBench;

constexpr AssertionSite Site = {"Some/Module", 12, "Some != Other"};

TEST_F (SmmDebugServiceLib, PassesEveryMessageByBeforeTheServicesTableIsBound)
{
  DEBUG (DEBUG_ERROR, "early %d\n", 1);
  EXPECT_EQ (StoppedAt ([] { ASSERT (false, Site); }), "");
}

TEST_F (SmmDebugServiceLib, TakesTheNamedFormFromTheNextRevisionOn)
{
  // PrintWithName and AssertWithName of the bench check the name; the other two have none.
  for (const UINT64 Revision : {0x0FFFFULL, 0x10000ULL, 0x10001ULL, 0x20000ULL}) {
    SCOPED_TRACE (Revision);
    InstallDebugService (Revision);
    DEBUG (DEBUG_INFO, "hello\n");
    EXPECT_EQ (StoppedAt ([] { ASSERT (false, Site); }), "Some/Module:12 Some != Other");
    EXPECT_EQ (Messages.back (), "40 hello\n");
  }
}

TEST_F (SmmDebugServiceLib, LetsThroughTheLevelsOfBothFilters)
{
  InstallDebugService ();
  const struct {
    UINTN Level;
    bool Printed;
  } Rows[] =
      {
          {0, false},           {0x1, false},      {0x2, true},      {0x4, true},
          {0x40, true},         {0x400000, false}, {0x400040, true}, {0x80000000, true},
          {0x100000000, false}, // no bit of the 32-bit filters
      };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Level);
    Messages.clear ();
    DEBUG (Row.Level, "line\n");
    EXPECT_EQ (Messages.size (), Row.Printed ? 1U : 0U);
  }
}

TEST_F (SmmDebugServiceLib, DoesNotEvaluateArgumentsBehindAClosedGate)
{
  InstallDebugService ();
  int Evaluated = 0;
  DEBUG (0, "%d\n", ++Evaluated);
  EXPECT_EQ (Evaluated, 0);
  DEBUG (DEBUG_INFO, "%d\n", ++Evaluated);
  EXPECT_EQ (Evaluated, 1);
}

TEST_F (SmmDebugServiceLib, ReportsAStatusAheadOfItsAssertion)
{
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] {
               ASSERT_EFI_ERROR (EFI_NOT_FOUND, (AssertionSite{"M", 7}));
             }),
             "M:7 !(((INTN)(RETURN_STATUS)(Status)) < 0)");
  EXPECT_EQ (Messages.back (), "80000000 \nASSERT_EFI_ERROR (Status = %r)\n");
  EXPECT_EQ (StoppedAt ([] {
               ASSERT_RETURN_ERROR (EFI_NOT_FOUND, (AssertionSite{"M", 8}));
             }),
             "M:8 !(((INTN)(RETURN_STATUS)(Status)) < 0)");
  EXPECT_EQ (Messages.back (), "80000000 \nASSERT_RETURN_ERROR (Status = %r)\n");

  Assertions.clear ();
  ASSERT_EFI_ERROR (EFI_SUCCESS, Site);
  ASSERT_EFI_ERROR (5, Site); // a warning
  EXPECT_TRUE (Assertions.empty ());
}

TEST_F (SmmDebugServiceLib, SearchesAgainAfterAFailedSearchAndKeepsWhatItFound)
{
  static UINTN Searches = 0;
  static bool Present = false;
  static SmmDebugServiceProtocol Quiet = {.Revision = 0x10000,
                                          .Print = [] (UINTN, const CHAR8 *, VA_LIST)
                                                       EFIAPI -> EFI_STATUS { return EFI_SUCCESS; },
                                          .Assert = nullptr,
                                          .PrintWithName = nullptr,
                                          .Reserved = nullptr,
                                          .AssertWithName = nullptr};
  Smst.SmmLocateProtocol = [] (const EFI_GUID *, VOID *, VOID **Interface) EFIAPI -> EFI_STATUS {
    ++Searches;
    *Interface = Present ? &Quiet : reinterpret_cast<VOID *> (0xBAD);
    return Present ? EFI_SUCCESS : EFI_NOT_FOUND;
  };
  gSmst = &Smst;

  DEBUG (DEBUG_INFO, "lost\n");
  DEBUG (DEBUG_INFO, "lost\n");
  EXPECT_EQ (Searches, 2U);
  Present = true;
  DEBUG (DEBUG_INFO, "found\n");
  DEBUG (DEBUG_INFO, "kept\n");
  EXPECT_EQ (Searches, 3U);
}

} // namespace
