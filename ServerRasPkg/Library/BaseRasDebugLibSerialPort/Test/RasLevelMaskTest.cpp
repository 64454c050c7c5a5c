#include "RasDebugLibInternal.h"

#include <cstring>
#include <optional>

#include "DxeSmmStandaloneMmHobLib.h"
#include "HobList.h"
#include "RasDebugLib.h"
#include "RasTestBench.h"
#include "Record/RasLevelMask.h"

namespace {

constexpr UINT32 CmosMask = 0x12345678;
constexpr UINTN MaskHobSize = 32;

constexpr struct {
  std::optional<UINT32> Hob; ///< What an earlier boot phase left.
  UINT32 Cmos;
  UINTN Room; ///< For one more HOB, in bytes.
  std::optional<UINT32> HobAfterwards;
} Sources[] = {
    {0x0C000000, CmosMask, 0x100, 0x0C000000},
    {0, CmosMask, 0x100, 0},
    {std::nullopt, CmosMask, MaskHobSize, CmosMask},
    {std::nullopt, 0, 0x100, 0},
    {std::nullopt, CmosMask, MaskHobSize - 1, std::nullopt},
};

/// The parameter is a row of Sources: each needs a module that has not looked yet.
class LevelMask : public RasTestBench, public testing::WithParamInterface<UINTN> {
public:
  void
  SetCmos (UINT32 Mask)
  {
    std::memcpy (&Machine.Cmos.Bytes[0x4C], &Mask, sizeof Mask);
    Machine.Cmos.Transcript = &CmosAccesses;
    CmosAccesses.clear ();
  }

  AccessTranscript CmosAccesses;
};

TEST_P (LevelMask, IsFoundOutOnceAndLeftToTheNextDriver)
{
  const auto &Source = Sources[GetParam ()];
  SetCmos (Source.Cmos);
  EFI_HOB_HANDOFF_INFO_TABLE *HandOff = HobListHead ();
  const auto *Hob = reinterpret_cast<const EFI_HOB_GUID_TYPE *> (HandOff->EfiEndOfHobList);
  if (Source.Hob) {
    SetLevelMask (*Source.Hob);
  }
  HandOff->EfiFreeMemoryTop = HandOff->EfiFreeMemoryBottom + Source.Room;

  RasDebugPrint (0, "A line of no level finds the mask out as well.");
  EXPECT_EQ (CmosAccesses.empty (), Source.Hob.has_value ());
  ASSERT_EQ (+Hob->Header.HobType == EFI_HOB_TYPE_GUID_EXTENSION,
             Source.HobAfterwards.has_value ());
  if (Source.HobAfterwards) {
    EXPECT_EQ (std::memcmp (&Hob->Name, &gRasLevelMaskHobGuid, sizeof (EFI_GUID)), 0);
    EXPECT_EQ (std::memcmp (Hob + 1, &*Source.HobAfterwards, 4), 0);
  }

  SetCmos (~Source.Cmos);
  EXPECT_EQ (GetRasLevelMask (), Source.Hob.value_or (Source.Cmos));
  EXPECT_TRUE (CmosAccesses.empty ());
}

INSTANTIATE_TEST_SUITE_P (Rows, LevelMask, testing::Range (UINTN{0}, UINTN{std::size (Sources)}));

TEST_F (LevelMask, OfCmosTakesThePlaceOfOneThatComesInBetween)
{
  SetCmos (CmosMask);
  WatchedMachine Watched (Machine);
  Watched.OnWrite = [&Watched] {
    SetLevelMask (1); // By another processor.
    Watched.OnWrite = [] {};
  };
  gHostMachine = &Watched;
  EXPECT_EQ (GetRasLevelMask (), CmosMask);
  gHostMachine = &Machine;
  EXPECT_EQ (*static_cast<UINT32 *> (DataOfGuidHob (GetFirstGuidHob (&gRasLevelMaskHobGuid)).Start),
             CmosMask);
}

TEST_F (LevelMask, OfAllOnesIsLookedUpAgainWithEachCall)
{
  SetLevelMask (0xFFFFFFFF);
  EXPECT_EQ (GetRasLevelMask (), 0xFFFFFFFF);
  HobListReset ();
  SetCmos (CmosMask);
  EXPECT_EQ (GetRasLevelMask (), CmosMask);
}

} // namespace
