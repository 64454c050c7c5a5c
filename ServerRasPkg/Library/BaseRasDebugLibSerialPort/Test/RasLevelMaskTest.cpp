#include "RasDebugLibInternal.h"

#include <cstring>
#include <optional>

#include "HobList.h"
#include "RasDebugLib.h"
#include "RasTestBench.h"
#include "Record/RasLevelMask.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

constexpr UINT32 CmosMask = 0x12345678;
constexpr UINTN MaskHobSize = 32;

struct MaskSource {
  const char *Name;
  std::optional<UINT32> Hob; ///< What an earlier boot phase left.
  UINT32 Cmos;
  UINTN Room;          ///< For one more HOB, in bytes.
  bool HasList = true; ///< Whether there is a HOB list at all.
  UINT32 Mask;         ///< What comes of it.
  bool ReadsCmos;      ///< Whether CMOS is looked at.
  bool HasHobAfterwards;
};

void
PrintTo (const MaskSource &Source, std::ostream *Stream)
{
  *Stream << Source.Name;
}

class LevelMask : public RasTestBench, public testing::WithParamInterface<MaskSource> {
public:
  void
  SetCmos (UINT32 Mask)
  {
    std::memcpy (&Machine.Cmos.Bytes[0x4C], &Mask, sizeof Mask);
  }

  /// The data of the HOB behind the phase hand-off block, if it is the mask's.
  static std::optional<UINT32>
  HobMask ()
  {
    const auto *Hob = reinterpret_cast<const EFI_HOB_GUID_TYPE *> (HobListHead () + 1);
    if (+Hob->Header.HobType != EFI_HOB_TYPE_GUID_EXTENSION) {
      return std::nullopt;
    }
    EXPECT_EQ (std::memcmp (&Hob->Name, &gRasLevelMaskHobGuid, sizeof (EFI_GUID)), 0);
    UINT32 Mask = 0;
    std::memcpy (&Mask, Hob + 1, sizeof Mask);
    return Mask;
  }

  AccessTranscript CmosAccesses;
};

TEST_P (LevelMask, IsFoundOutOnceAndLeftToTheNextDriver)
{
  const MaskSource &Source = GetParam ();
  SetCmos (Source.Cmos);
  Machine.Cmos.Transcript = &CmosAccesses;
  if (Source.Hob) {
    SetLevelMask (*Source.Hob);
  }
  HobListHead ()->EfiFreeMemoryTop = HobListHead ()->EfiFreeMemoryBottom + Source.Room;
  if (!Source.HasList) {
    gST->NumberOfTableEntries = 0;
    gSmst->NumberOfTableEntries = 0;
  }

  // A line of no level finds the mask out as well, and does nothing else.
  RasDebugPrint (0, "nothing\n");
  EXPECT_EQ (CmosAccesses.empty (), !Source.ReadsCmos);
  EXPECT_EQ (HobMask (), Source.HasHobAfterwards ? std::optional (Source.Mask) : std::nullopt);
  EXPECT_EQ (Machine.Uart.Sent, "");

  CmosAccesses.clear ();
  SetCmos (~Source.Cmos);
  EXPECT_EQ (GetRasLevelMask (), Source.Mask);
  EXPECT_TRUE (CmosAccesses.empty ());
}

INSTANTIATE_TEST_SUITE_P (
    From,
    LevelMask,
    testing::Values (
        MaskSource{"Hob", 0x0C000000, CmosMask, 0x100, true, 0x0C000000, false, true},
        MaskSource{"ZeroHob", 0, CmosMask, 0x100, true, 0, false, true},
        MaskSource{"Cmos", std::nullopt, CmosMask, MaskHobSize, true, CmosMask, true, true},
        MaskSource{"ZeroCmos", std::nullopt, 0, 0x100, true, 0, true, true},
        MaskSource{"FullList", std::nullopt, CmosMask, MaskHobSize - 1, true, CmosMask, true,
                   false},
        MaskSource{"NoList", std::nullopt, CmosMask, 0x100, false, CmosMask, true, false}),
    [] (const auto &Info) { return Info.param.Name; });

TEST_F (LevelMask, OfAllOnesIsLookedUpAgainWithEachCall)
{
  Machine.Cmos.Transcript = &CmosAccesses;
  SetCmos (0xFFFFFFFF);
  EXPECT_EQ (GetRasLevelMask (), 0xFFFFFFFF);
  EXPECT_FALSE (CmosAccesses.empty ());
  CmosAccesses.clear ();
  EXPECT_EQ (GetRasLevelMask (), 0xFFFFFFFF);
  EXPECT_TRUE (CmosAccesses.empty ()) << "the HOB has it by now";
}

} // namespace
