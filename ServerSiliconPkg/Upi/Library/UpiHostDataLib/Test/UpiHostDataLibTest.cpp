#include "UpiHostDataLib.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "FirmwareTestBench.h"
#include "HobList.h"
#include "SmmServicesTableLib.h"

namespace {

const std::string SourceFile = "ServerSiliconPkg/Upi/Library/UpiHostDataLib/UpiHostDataLibSmm:";
const std::string StatusText = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";

const struct {
  const EFI_GUID &Hob;
  UINTN Offset, Size;
  std::string MissingLine;
} Records[] = {
    {gUpiFirstRecordHobGuid, 0, 590, "77"},
    {gUpiHostRecordHobGuid, 590, 9179, "81"},
    {gUpiThirdRecordHobGuid, 9769, 703, "85"},
};

class UpiHostData : public FirmwareTestBench {
public:
  static EFI_STATUS
  Construct ()
  {
    return UpiHostDataLibConstructor (nullptr, nullptr);
  }

  /// Leaves three HOBs of noise with so many bytes more, or less, than the block takes of them.
  /// Returns what the block has to hold then.
  static std::vector<UINT8>
  LeaveHobs (INTN Surplus)
  {
    std::vector<UINT8> Block;
    UINT8 Noise = 1;
    for (const auto &Record : Records) {
      std::vector<UINT8> Data (Record.Size + static_cast<UINTN> (Surplus));
      std::generate (Data.begin (), Data.end (),
                     [&] { return Noise = static_cast<UINT8> (Noise * 5 + 3); });
      HobListRemove (&Record.Hob);
      EFI_HOB_GUID_TYPE *Hob = HobListAddGuid (&Record.Hob, Data.data (), Data.size ());
      const auto *Bytes = reinterpret_cast<const UINT8 *> (Hob + 1);
      const UINTN Available = Hob->Header.HobLength - 24U; // Rounded up to a multiple of 8.
      Block.insert (Block.end (), Bytes, Bytes + std::min (Available, Record.Size));
      Block.resize (Record.Offset + Record.Size, 0);
    }
    return Block;
  }

  static std::vector<UINT8>
  PublishedBlock ()
  {
    VOID *Interface = nullptr;
    EXPECT_EQ (ProtocolLocate (ProtocolSmm, &gSmmKtiProtocolGuid, &Interface), EFI_SUCCESS);
    EXPECT_EQ (Interface, mSmmKtiProtocol);
    const auto *Bytes = static_cast<const UINT8 *> (Interface);
    return {Bytes, Bytes + 10472};
  }
};

TEST_F (UpiHostData, IsTheFixedLengthsOfItsHobsOneBehindTheOther)
{
  for (const INTN Surplus : {100, 0, -40, -560}) {
    SCOPED_TRACE (Surplus);
    PowerOn ();
    const std::vector<UINT8> Expected = LeaveHobs (Surplus);
    EXPECT_EQ (Construct (), EFI_SUCCESS);
    EXPECT_EQ (PublishedBlock (), Expected);
    EXPECT_EQ (reinterpret_cast<const UINT8 *> (GetUpiHostRecord ()),
               reinterpret_cast<const UINT8 *> (mSmmKtiProtocol) + 590);
    EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 1U);
    EXPECT_EQ (gPools[PoolSmm].LiveBytes, 10472U);
  }
}

TEST_F (UpiHostData, IsNotPublishedInPart)
{
  struct Row {
    std::string Assertion;
    std::function<void ()> Prepare;
    EFI_STATUS Status;
    UINTN LiveBlocks;
  };
  std::vector<Row> Rows = {
      {"90" + StatusText, [] { gSmst->SmmAllocatePool = GivesNothing; }, EFI_OUT_OF_RESOURCES, 0},
      {"107" + StatusText,
       [] {
         FaultPlanFail (ServiceSmmInstallProtocol, 1, EFI_DEVICE_ERROR);
         FaultPlanFail (ServiceSmmFreePool, 1, EFI_INVALID_PARAMETER);
       },
       EFI_DEVICE_ERROR, 1},
  };
  for (const auto &Record : Records) {
    Rows.push_back ({Record.MissingLine + " GuidHob != ((void *) 0)",
                     [&] { HobListRemove (&Record.Hob); }, EFI_NOT_FOUND, 0});
  }
  for (const bool Stops : {false, true}) {
    for (const Row &Each : Rows) {
      SCOPED_TRACE (Each.Assertion);
      PowerOn ();
      Each.Prepare ();
      EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (Construct (), Each.Status); }),
                 Stops ? SourceFile + Each.Assertion : "");
      EXPECT_EQ (mSmmKtiProtocol, nullptr);
      EXPECT_EQ (gPools[PoolSmm].LiveBlocks, Each.LiveBlocks);
      VOID *Interface = nullptr;
      EXPECT_EQ (ProtocolLocate (ProtocolSmm, &gSmmKtiProtocolGuid, &Interface), EFI_NOT_FOUND);
    }
    InstallDebugService ();
  }
}

TEST_F (UpiHostData, GivesNoRecordWhileUnbound)
{
  EXPECT_EQ (GetUpiHostRecord (), nullptr);
  FaultPlanFail (ServiceSmmLocateProtocol, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ (Construct (), EFI_SUCCESS) << "published, if then not found";
  EXPECT_EQ (GetUpiHostRecord (), nullptr);
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] { (void)GetUpiHostRecord (); }),
             SourceFile + "129 mSmmKtiProtocol != ((void *) 0)");
  gSmst = nullptr;
  EXPECT_EQ (Construct (), EFI_UNSUPPORTED);
}

} // namespace
