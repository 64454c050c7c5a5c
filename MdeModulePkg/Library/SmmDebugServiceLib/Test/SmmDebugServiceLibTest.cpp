#include "SmmDebugServiceLib.h"

#include "ModuleTestBench.h"
#include "ProtocolLib.h"

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
  for (const UINT64 Revision : {0x0FFFFULL, 0x10000ULL, 0x10001ULL, 0x20000ULL}) {
    SCOPED_TRACE (Revision);
    InstallDebugService (Revision);
    VOID *Interface = nullptr;
    ASSERT_EQ (LocateSmmProtocol (&gSmmDebugServiceProtocolGuid, &Interface), EFI_SUCCESS);
    auto *Service = static_cast<SmmDebugServiceProtocol *> (Interface);
    if (Revision > 0x10000) {
      Service->Print = nullptr;
      Service->Assert = nullptr;
    } else {
      Service->PrintWithName = nullptr;
      Service->AssertWithName = nullptr;
    }
    DEBUG (DEBUG_INFO, "hello\n");
    EXPECT_EQ (StoppedAt ([] { ASSERT (false, Site); }), "Some/Module:12 Some != Other");
    EXPECT_EQ (Messages.back (), "40 hello\n");
  }
}

TEST_F (SmmDebugServiceLib, LetsThroughTheLevelsOfBothFilters)
{
  InstallDebugService ();
  int Evaluated = 0;
  DEBUG (0, "%d\n", ++Evaluated);
  EXPECT_EQ (Evaluated, 0);
  for (const UINTN Level : {0x1ULL, 0x400000ULL, 0x100000000ULL}) {
    DEBUG (Level, "closed\n");
  }
  for (const UINTN Level : {0x2U, 0x4U, 0x40U, 0x400040U, 0x80000000U}) {
    DEBUG (Level, "open\n");
  }
  EXPECT_EQ (Messages, (std::vector<std::string>{"2 open\n", "4 open\n", "40 open\n",
                                                 "400040 open\n", "80000000 open\n"}));
}

TEST_F (SmmDebugServiceLib, SearchesAgainAfterAFailedSearchAndKeepsWhatItFound)
{
  static UINTN Searches = 0;
  InstallDebugService ();
  static const auto Locate = Smst.SmmLocateProtocol;
  Smst.SmmLocateProtocol = [] (const EFI_GUID *Guid, VOID *, VOID **Interface)
                               EFIAPI -> EFI_STATUS {
    *Interface = reinterpret_cast<VOID *> (0xBAD);
    return ++Searches < 3 ? EFI_NOT_FOUND : Locate (Guid, nullptr, Interface);
  };
  for (const char *Text : {"lost", "lost", "found", "kept"}) {
    DEBUG (DEBUG_INFO, Text);
  }
  EXPECT_EQ (Searches, 3U);
  EXPECT_EQ (Messages, (std::vector<std::string>{"40 found", "40 kept"}));
}

} // namespace
