#include "SysHostPointerLib.h"

#include <cstring>
#include <functional>
#include <sstream>
#include <vector>

#include "Firmware.h"
#include "FirmwareTestBench.h"
#include "HandOffRecords.h"
#include "HobList.h"
#include "Protocol/SmmAccess2.h"
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

UINT64
AddressOf (const void *Data)
{
  return reinterpret_cast<UINT64> (Data);
}

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

  static EFI_STATUS
  Construct ()
  {
    return SmmSysHostPointerLibProtocolConstructor (nullptr, nullptr);
  }

  static EFI_STATUS
  Destruct ()
  {
    return SmmSysHostPointerLibProtocolDestructor (nullptr, nullptr);
  }

  /// Sets a pointer that an earlier phase leaves.
  static void
  Leave (UINTN Slot, UINT64 Pointer)
  {
    std::memcpy (reinterpret_cast<UINT8 *> (HandOffStaticPointers ()) + 8 * Slot, &Pointer, 8);
  }

  /// Blocks that are live beside the copy of the SMRAM map.
  static UINTN
  LiveBlocks ()
  {
    return gPools[PoolSmm].LiveBlocks - 1;
  }

  /// The published table's bytes; none if there is no table.
  static const UINT8 *
  Published ()
  {
    VOID *Interface = nullptr;
    return EFI_ERROR (ProtocolLocate (ProtocolSmm, &gStaticPointerTableProtocolGuid, &Interface))
               ? nullptr
               : static_cast<const UINT8 *> (Interface);
  }

  /// A slot of the published table.
  static UINT64
  Slot (UINTN Number)
  {
    UINT64 Pointer = 0;
    std::memcpy (&Pointer, Published () + 8 + 8 * Number, sizeof Pointer);
    return Pointer;
  }
};

class ReportingSysHostPointer : public SysHostPointer {
public:
  ReportingSysHostPointer ()
  {
    InstallDebugService ();
  }
};

TEST_F (ReportingSysHostPointer, CopiesBlocksThatMayBeCopiedAndKeepsOtherPointers)
{
  const auto Whole = Block (100, 100);
  const auto Short = Block (20, 7);
  const auto Empty = Block (20, 0);
  const auto Foreign = Block (20, 20, gStaticPointerHobGuid);
  Leave (SptSysHost, 0);
  Leave (SptMemMapHost, 0);
  Leave (1, AddressOf (Whole.data ()));
  Leave (8, AddressOf (Short.data ()));
  Leave (9, AddressOf (Empty.data ()));
  Leave (15, AddressOf (Foreign.data ()));
  EXPECT_EQ (Construct (), EFI_SUCCESS);

  ASSERT_EQ (Published (), reinterpret_cast<UINT8 *> (mPrivate));
  EXPECT_EQ (Published ()[0], 0);
  EXPECT_EQ (LiveBlocks (), 3U);
  EXPECT_EQ (gPools[PoolSmm].LiveBytes, 96U + 528 + 32 * 3 + 100 + 7) << "the SMRAM map included";
  for (const auto &[Number, Data] : {std::pair (1U, &Whole), std::pair (8U, &Short)}) {
    EXPECT_NE (Slot (Number), AddressOf (Data->data ()));
    EXPECT_EQ (std::memcmp (reinterpret_cast<VOID *> (Slot (Number)), Data->data (),
                            Data == &Whole ? 100 : 7),
               0);
  }
  EXPECT_EQ (Slot (9), AddressOf (Empty.data ()));
  EXPECT_EQ (Slot (15), AddressOf (Foreign.data ()));
  for (const int Other : {0, 2, 3, 4, 5, 6, 7, 10, 11, 12, 13, 14}) {
    EXPECT_EQ (Slot (static_cast<UINTN> (Other)), 0U) << Other;
  }
  const UINT32 RangeCount = 3;
  EXPECT_EQ (std::memcmp (Published () + 520, &RangeCount, sizeof RangeCount), 0);
  EXPECT_EQ (std::memcmp (Published () + 528, gSmramMap, 32 * 3), 0);
  EXPECT_EQ (Messages (), Driver + "Building data for SysHostPointerLib\n")
      << "the constructor's own message is of a level below";
}

TEST_F (ReportingSysHostPointer, EmptiesWhatLeadsOutsideSmramAtReadyToLock)
{
  constexpr UINTN InsideSlot = 8;
  constexpr UINTN CopiedSlot = 13;
  std::istringstream Names ("SptSysHost SptHbmHost SptSysInfoVar SptSysSetup SptSemaphoreData "
                            "SptSpdData SptDebugData SptMemMapHost - SptEmulationSetting "
                            "SptCpuAndRevision SptMrcPerformanceData SptCpgcHost - - -");
  const auto Copied = Block (20, 20);
  const auto Foreign = Block (20, 20, gStaticPointerHobGuid);
  VOID *Inside = nullptr;
  EXPECT_EQ (gSmst->SmmAllocatePool (EfiRuntimeServicesData, 20, &Inside), EFI_SUCCESS);
  std::ostringstream Lines;
  Lines << Driver << "Sanitizing non-SMRAM pointers in SysHostPointerLib\n" << std::uppercase;
  for (UINTN Number = 0; Number < 16; ++Number) {
    Leave (Number, AddressOf (Foreign.data ()));
    std::string Name;
    Names >> Name;
    if (Number != InsideSlot && Number != CopiedSlot) {
      const bool IsNamed = DebugCodeEnabled () && Name != "-";
      Lines << "  Setting entry " << (IsNamed ? Name : "<null string>") << " (" << std::dec
            << Number << ") to NULL; was 0x" << std::hex
            << static_cast<UINT32> (AddressOf (Foreign.data ())) << "\n";
    }
  }
  Lines << Driver << "Done sanitizing non-SMRAM pointers\n";
  Leave (InsideSlot, AddressOf (Inside));
  Leave (CopiedSlot, AddressOf (Copied.data ()));
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  const UINT64 Copy = Slot (CopiedSlot);
  World.Forget ();
  FirmwareSignalReadyToLock ();
  mPrivate->Pointers[4] = 1;
  EXPECT_EQ (SanitizeStaticPointers (nullptr, nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (Messages (), Lines.str ()) << "the work is done once";
  EXPECT_EQ (Published ()[0], 1);
  for (UINTN Number = 0; Number < 16; ++Number) {
    EXPECT_EQ (Slot (Number), Number == InsideSlot   ? AddressOf (Inside)
                              : Number == CopiedSlot ? Copy
                              : Number == 4          ? 1U
                                                     : 0U);
  }
}

TEST_F (ReportingSysHostPointer, TellsSmramByTheProcessorsAddresses)
{
  gSmramMap[0] = {0x9000, 0x1000, 0x100, 0}; // the chipset's address and the processor's, the size
  EXPECT_EQ (Construct (), EFI_SUCCESS);
  EXPECT_TRUE (IsPointerInSmram (0x1000) && IsPointerInSmram (0x10FF));
  EXPECT_FALSE (IsPointerInSmram (0xFFF) || IsPointerInSmram (0x1100) || IsPointerInSmram (0x9000));
  EXPECT_TRUE (IsPointerInSmram (gSmramMap[2].CpuStart));
}

TEST_F (ReportingSysHostPointer, LeavesNoNotificationBehind)
{
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

/// Answers for an access protocol that knows no size, and for one that has no ranges.
EFI_STATUS EFIAPI
KnowsNoSize (const EFI_SMM_ACCESS2_PROTOCOL *, UINTN *, EFI_SMRAM_DESCRIPTOR *)
{
  return EFI_SUCCESS;
}
EFI_STATUS EFIAPI
HasNoRanges (const EFI_SMM_ACCESS2_PROTOCOL *, UINTN *Size, EFI_SMRAM_DESCRIPTOR *Map)
{
  *Size = 0;
  return Map == nullptr ? EFI_BUFFER_TOO_SMALL : EFI_SUCCESS;
}

std::function<void ()>
Fails (FirmwareService Service, UINTN Call)
{
  return [=] { FaultPlanFail (Service, Call, EFI_DEVICE_ERROR); };
}

TEST_F (SysHostPointer, ReportsEachFailureAndGoesOnAsFarAsItCan)
{
  const std::string Error = "ERROR: " + Driver;
  const struct {
    std::string Assertion; ///< The first one.
    std::function<void ()> Prepare;
    EFI_STATUS Status;
    std::string Message;
    UINTN LiveBlocks;
    bool Published;
  } Rows[] = {
      {"214" + StatusText, [] { ProtocolRemove (ProtocolBoot, &gEfiSmmAccess2ProtocolGuid); },
       EFI_NOT_FOUND, Error + "Unable to locate SmmAccess2 protocol: Not Found\n", 0, false},
      {"214" + StatusText,
       [] {
         ProtocolRemove (ProtocolBoot, &gEfiSmmAccess2ProtocolGuid);
         ProtocolPublish (ProtocolBoot, &gEfiSmmAccess2ProtocolGuid, nullptr);
       },
       EFI_NOT_FOUND, Error + "Unable to locate SmmAccess2 protocol: Not Found\n", 0, false},
      {"225 Size != 0", [] { gSmmAccess.GetCapabilities = HasNoRanges; }, EFI_SUCCESS, "", 2, true},
      {"233" + StatusText, Fails (ServiceGetCapabilities, 1), EFI_DEVICE_ERROR,
       Error + "Unexpected status for getting SMM capabilities size: Device Error\n", 0, false},
      {"234 Status == ((RETURN_STATUS)(0x8000000000000000ULL | (5)))",
       [] { gSmmAccess.GetCapabilities = KnowsNoSize; }, EFI_BAD_BUFFER_SIZE,
       Error + "Unexpected status for getting SMM capabilities size: Success\n", 0, false},
      {"252 InternalRanges != ((void *) 0)", Fails (ServiceSmmAllocatePool, 1),
       EFI_OUT_OF_RESOURCES, Error + "Could not allocate memory for SMM ranges\n", 0, false},
      {"267" + StatusText, Fails (ServiceGetCapabilities, 2), EFI_DEVICE_ERROR,
       Error + "Unable to get SMM capabilities: Device Error\n", 0, false},
      {"314 mPrivate != ((void *) 0)", Fails (ServiceSmmAllocatePool, 2), EFI_OUT_OF_RESOURCES,
       Error + "Could not allocate memory for SysHostPointerLib data!\n", 0, false},
      {"142 HobPtr != ((void *) 0)", [] { HobListRemove (&gStaticPointerHobGuid); }, EFI_SUCCESS,
       "", 1, true},
      {"", Fails (ServiceSmmAllocatePool, 3), EFI_SUCCESS,
       "ERROR: InitializeStaticPointers: Could not allocate SMM memory for pointer type 0\n", 1,
       true},
      {"354" + StatusText, Fails (ServiceSmmInstallProtocol, 1), EFI_DEVICE_ERROR,
       Error + "Could not install static pointer table protocol: Device Error!\n", 2, false},
      {"483" + StatusText, Fails (ServiceSmmRegisterNotify, 1), EFI_DEVICE_ERROR,
       Error + "Unable to register notify for SmmReadyToLock: Device Error\n", 2, true},
  };
  for (const bool Silent : {true, false}) {
    if (!Silent) {
      InstallDebugService ();
    }
    for (const auto &Row : Rows) {
      SCOPED_TRACE (Row.Assertion);
      Boot ();
      Row.Prepare ();
      const bool Stops = !Silent && DebugAssertEnabled () && !Row.Assertion.empty ();
      EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (Construct (), Row.Status); }),
                 Stops ? SourceFile + Row.Assertion : "");
      if (!Silent) {
        EXPECT_NE (Messages ().find (Row.Message), std::string::npos) << Messages ();
      }
      if (!Stops) {
        EXPECT_EQ (LiveBlocks (), Row.LiveBlocks);
        EXPECT_EQ (Published () != nullptr, Row.Published);
        EXPECT_EQ (Destruct (), EFI_SUCCESS);
        EXPECT_EQ (ProtocolNotificationCount (), 0U);
      }
    }
  }
}

TEST_F (ReportingSysHostPointer, HasNothingToSanitizeWithoutATable)
{
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
