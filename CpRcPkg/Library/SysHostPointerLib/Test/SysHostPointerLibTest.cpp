#include "SysHostPointerLib.h"

#include <cstring>
#include <sstream>
#include <utility>
#include <vector>

#include "Firmware.h"
#include "FirmwareTestBench.h"
#include "HandOffRecords.h"
#include "SmmAccess.h"
#include "SmmDebugServiceLib.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmServicesTableLib.h"

namespace {

const std::string SourceFile = "CpRcPkg/Library/SysHostPointerLib/SmmSysHostPointerLibProtocol:";
const std::string StatusText = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";
const std::string Driver = "VelmoraQsmErrorHandler: ";

/// A block of that many bytes with a header that claims ClaimedSize.
std::vector<UINT8>
Block (UINTN Size, UINT16 ClaimedSize, EFI_GUID Signature = gStaticPointerBlockGuid)
{
  std::vector<UINT8> Bytes (Size, 0x5A);
  std::memcpy (Bytes.data (), &Signature, sizeof Signature);
  std::memcpy (Bytes.data () + 16, &ClaimedSize, sizeof ClaimedSize);
  return Bytes;
}

const auto Construct = [] { return SmmSysHostPointerLibProtocolConstructor (nullptr, nullptr); };
const auto Destruct = [] { return SmmSysHostPointerLibProtocolDestructor (nullptr, nullptr); };

class SysHostPointer : public FirmwareTestBench {
public:
  SysHostPointer ()
  {
    Boot ();
  }

  void
  Boot ()
  {
    PowerOn ();
    SmmMemoryAllocationLibConstructor (nullptr, nullptr);
    World.Forget ();
  }

  /// Blocks that are live beside the copy of the SMRAM map.
  static UINTN
  LiveBlocks ()
  {
    return gPools[PoolSmm].LiveBlocks - 1;
  }

  /// The published table; null if there is none.
  static const VOID *
  Published ()
  {
    VOID *Interface = nullptr;
    const EFI_STATUS Status =
        ProtocolLocate (ProtocolSmm, &gStaticPointerTableProtocolGuid, &Interface);
    return EFI_ERROR (Status) ? nullptr : Interface;
  }
};

TEST_F (SysHostPointer, CopiesBlocksThatMayBeCopiedAndKeepsOtherPointers)
{
  InstallDebugService ();
  const struct {
    UINTN Slot;
    std::vector<UINT8> Block;
    UINTN Copied;
  } Rows[] = {
      {1, Block (100, 100), 100},
      {8, Block (20, 7), 7},
      {9, Block (20, 0), 0},
      {15, Block (20, 20, gStaticPointerHobGuid), 0},
  };
  StaticPointerHobData *Left = HandOffStaticPointers ();
  *Left = {};
  for (const auto &Row : Rows) {
    Left->Pointers[Row.Slot] = reinterpret_cast<UINT64> (Row.Block.data ());
  }
  EXPECT_EQ (Construct (), EFI_SUCCESS);

  ASSERT_EQ (Published (), mPrivate);
  EXPECT_EQ (mPrivate->Sanitized, FALSE);
  EXPECT_EQ (LiveBlocks (), 3U);
  EXPECT_EQ (gPools[PoolSmm].LiveBytes, 96U + 528 + 32 * 3 + 100 + 7) << "the SMRAM map included";
  for (const auto &Row : Rows) {
    const UINT64 Pointer = std::exchange (mPrivate->Pointers[Row.Slot], 0);
    EXPECT_EQ (Pointer == Left->Pointers[Row.Slot], Row.Copied == 0);
    EXPECT_EQ (std::memcmp (reinterpret_cast<VOID *> (Pointer), Row.Block.data (), Row.Copied), 0);
  }
  for (const UINT64 Other : mPrivate->Pointers) {
    EXPECT_EQ (Other, 0U);
  }
  EXPECT_EQ (mPrivate->SmramRangeCount, 3U);
  EXPECT_EQ (std::memcmp (mPrivate + 1, gSmramMap, sizeof gSmramMap), 0);
  EXPECT_EQ (Messages (DEBUG_INFO), Driver + "Building data for SysHostPointerLib\n")
      << "the constructor's own message is of a level below";
}

/// The firmware's allocation, with a block outside SMRAM that grows meanwhile.
std::vector<UINT8> Growing = Block (100, 100);
decltype (EFI_SMM_SYSTEM_TABLE2::SmmAllocatePool) Allocate;
EFI_STATUS EFIAPI
AllocateAndGrow (EFI_MEMORY_TYPE Type, UINTN Size, VOID **Buffer)
{
  Growing[17] = Size == Growing.size () ? 0xFF : 0;
  return Allocate (Type, Size, Buffer);
}

TEST_F (SysHostPointer, KeepsTheHeaderByWhichItCopied)
{
  *HandOffStaticPointers () = {.Pointers = {reinterpret_cast<UINT64> (Growing.data ())}};
  Allocate = std::exchange (gSmst->SmmAllocatePool, AllocateAndGrow);
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_EQ (Growing[17], 0xFF);
  const auto *Copy = reinterpret_cast<const VOID *> (mPrivate->Pointers[0]);
  EXPECT_EQ (std::memcmp (Copy, Block (100, 100).data (), 100), 0);
}

TEST_F (SysHostPointer, EmptiesWhatLeadsOutsideSmramAtReadyToLock)
{
  InstallDebugService ();
  constexpr UINTN InsideSlot = 8;
  std::istringstream Names ("SptSysHost SptHbmHost SptSysInfoVar SptSysSetup SptSemaphoreData "
                            "SptSpdData SptDebugData SptMemMapHost - SptEmulationSetting "
                            "SptCpuAndRevision SptMrcPerformanceData SptCpgcHost - - -");
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  World.Forget ();
  std::string Lines = Driver + "Sanitizing non-SMRAM pointers in SysHostPointerLib\n";
  for (UINTN Slot = 0; Slot < 16; ++Slot) {
    mPrivate->Pointers[Slot] = 0xF1234ABCD;
    std::string Name;
    Names >> Name;
    Name = DebugCodeEnabled () && Name != "-" ? Name : "<null string>";
    if (Slot != InsideSlot) {
      Lines +=
          "  Setting entry " + Name + " (" + std::to_string (Slot) + ") to NULL; was 0x1234ABCD\n";
    }
  }
  Lines += Driver + "Done sanitizing non-SMRAM pointers\n";
  mPrivate->Pointers[InsideSlot] = gSmramMap[1].CpuStart;
  FirmwareSignalReadyToLock ();
  EXPECT_EQ (mPrivate->Sanitized, TRUE);
  for (UINTN Slot = 0; Slot < 16; ++Slot) {
    EXPECT_EQ (mPrivate->Pointers[Slot], Slot == InsideSlot ? gSmramMap[1].CpuStart : 0U);
  }
  mPrivate->Pointers[4] = 1;
  EXPECT_EQ (SanitizeStaticPointers (nullptr, nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (mPrivate->Pointers[4], 1U);
  EXPECT_EQ (Messages (DEBUG_INFO), Lines) << "the work is done once";
}

TEST_F (SysHostPointer, TellsSmramByTheProcessorsAddresses)
{
  InstallDebugService ();
  gSmramMap[0] = {0x9000, 0x1000, 0x100, 0}; // the chipset's address and the processor's, the size
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_TRUE (IsPointerInSmram (0x1000) && IsPointerInSmram (0x10FF));
  EXPECT_FALSE (IsPointerInSmram (0xFFF) || IsPointerInSmram (0x1100) || IsPointerInSmram (0x9000));
  EXPECT_TRUE (IsPointerInSmram (gSmramMap[2].CpuStart));
}

TEST_F (SysHostPointer, LeavesNoNotificationBehind)
{
  InstallDebugService ();
  EXPECT_EQ (Destruct (), EFI_SUCCESS) << "nothing is registered yet";
  EXPECT_EQ (gFaultPlan.Calls[ServiceSmmRegisterNotify], 0U);
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_EQ (ProtocolNotificationCount (), 1U);

  FaultPlanFail (ServiceSmmRegisterNotify, 1, EFI_DEVICE_ERROR);
  World.Forget ();
  EXPECT_EQ (StoppedAt ([] { EXPECT_EQ (Destruct (), EFI_DEVICE_ERROR); }),
             DebugAssertEnabled () ? SourceFile + "534" + StatusText : "");
  EXPECT_EQ (World.Log.front ().Text,
             "ERROR: " + Driver + "Unable to unregister notify for SmmReadyToLock: Device Error\n");
  EXPECT_EQ (Destruct (), EFI_SUCCESS);
  EXPECT_EQ (ProtocolNotificationCount (), 0U);
  EXPECT_NE (Published (), nullptr) << "the table is not the driver's";
}

/// The answer of an access protocol that has no ranges.
EFI_STATUS EFIAPI
HasNoRanges (const EFI_SMM_ACCESS2_PROTOCOL *, UINTN *Size, EFI_SMRAM_DESCRIPTOR *Map)
{
  *Size = 0;
  return Map == nullptr ? EFI_BUFFER_TOO_SMALL : EFI_SUCCESS;
}

// What comes of a call that fails can be read in the transcripts.
TEST_F (SysHostPointer, ReportsAMapWithoutRangesOrWithoutSizeAndGoesOnAsFarAsItCan)
{
  const struct {
    decltype (EFI_SMM_ACCESS2_PROTOCOL::GetCapabilities) GetCapabilities;
    EFI_STATUS Status;
    std::string Assertion, Message;
  } Rows[] = {
      {HasNoRanges, EFI_SUCCESS, "225 Size != 0", ""},
      {KnowsNoSize, EFI_BAD_BUFFER_SIZE,
       "234 Status == ((RETURN_STATUS)(0x8000000000000000ULL | (5)))",
       "ERROR: " + Driver + "Unexpected status for getting SMM capabilities size: Success\n"},
  };
  for (const bool Silent : {true, false}) {
    if (!Silent) {
      InstallDebugService ();
    }
    for (const auto &Row : Rows) {
      SCOPED_TRACE (Row.Assertion);
      Boot ();
      gSmmAccess.GetCapabilities = Row.GetCapabilities;
      const bool Stops = !Silent && DebugAssertEnabled ();
      EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (Construct (), Row.Status); }),
                 Stops ? SourceFile + Row.Assertion : "");
      if (!Silent) {
        EXPECT_NE (Messages ().find (Row.Message), std::string::npos) << Messages ();
      }
      if (!Stops) {
        EXPECT_EQ (LiveBlocks (), EFI_ERROR (Row.Status) ? 0U : 2U);
        EXPECT_EQ (Published () == nullptr, EFI_ERROR (Row.Status));
        EXPECT_EQ (Destruct (), EFI_SUCCESS);
        EXPECT_EQ (ProtocolNotificationCount (), 0U);
      }
    }
  }
}

TEST_F (SysHostPointer, HasNothingToSanitizeWithoutATable)
{
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] {
               EXPECT_EQ (SanitizeStaticPointers (nullptr, nullptr, nullptr),
                          EFI_INVALID_PARAMETER);
             }),
             DebugAssertEnabled () ? SourceFile + "383 mPrivate != ((void *) 0)" : "");
  ProtocolPublish (ProtocolSmm, &gStaticPointerTableProtocolGuid, nullptr);
  EXPECT_EQ (StoppedAt ([] { EXPECT_EQ (Construct (), EFI_SUCCESS); }),
             DebugAssertEnabled () ? SourceFile + "487 mPrivate != ((void *) 0)" : "");
}

} // namespace
