#include "Firmware.h"

#include <gtest/gtest.h>

#include "DebugFormat.h"
#include "DebugService.h"
#include "FaultPlan.h"
#include "HostWorld.h"
#include "Pool.h"
#include "Protocol/LoadedImage.h"
#include "Protocol/SmmReadyToLock.h"
#include "Protocol/SmmRscHandler.h"
#include "ProtocolDatabase.h"
#include "SmmServices.h"

namespace {

/// A firmware after power-on, on the host.
class Firmware : public testing::Test {
public:
  Firmware ()
  {
    const FirmwareWorld Table = World.Table ();
    FirmwareReset (&Table);
  }

  /// The fault in which Call ends, or "" when it comes back.
  template <typename Callable>
  static std::string
  FaultOf (Callable &&Call)
  {
    try {
      Call ();
      return "";
    } catch (const PlatformFault &Fault) {
      return Fault.what ();
    }
  }

  static EFI_BOOT_SERVICES &
  BootServices ()
  {
    return *FirmwareSystemTable ()->BootServices;
  }

  static void *
  AllocateSmm ()
  {
    void *Block = nullptr;
    EXPECT_EQ (gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 5, &Block), EFI_SUCCESS);
    return Block;
  }

  HostWorld World{1};
};

TEST_F (Firmware, KnowsEveryPoolBlock)
{
  void *First = AllocateSmm ();
  void *Second = AllocateSmm ();
  EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 2U);
  EXPECT_EQ (gPools[PoolSmm].LiveBytes, 10U);
  EXPECT_EQ (gSmmSystemTable.SmmFreePool (First), EFI_SUCCESS);
  EXPECT_EQ (FaultOf ([&] { gSmmSystemTable.SmmFreePool (First); }), "freed a pool block twice");

  const std::string Unknown = "freed a pointer that is no block of this pool";
  EXPECT_EQ (FaultOf ([&] { BootServices ().FreePool (Second); }), Unknown);
  EXPECT_EQ (FaultOf ([&] { gSmmSystemTable.SmmFreePool (static_cast<UINT8 *> (Second) + 1); }),
             Unknown);
  EXPECT_EQ (FaultOf ([] { gSmmSystemTable.SmmFreePool (nullptr); }), Unknown);
  EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 1U);
}

TEST_F (Firmware, CallsNoNotificationThatHasBeenRemoved)
{
  static std::string Called;
  Called.clear ();
  const EFI_SMM_NOTIFY_FN A = [] (const EFI_GUID *, void *, EFI_HANDLE) EFIAPI -> EFI_STATUS {
    Called += 'A';
    return EFI_SUCCESS;
  };
  const EFI_SMM_NOTIFY_FN B = [] (const EFI_GUID *, void *, EFI_HANDLE) EFIAPI -> EFI_STATUS {
    Called += 'B';
    return EFI_SUCCESS;
  };
  const EFI_GUID *Guid = &gEfiSmmReadyToLockProtocolGuid;
  const auto Notify = gSmmSystemTable.SmmRegisterProtocolNotify;
  void *OfA = nullptr;
  void *OfB = nullptr;
  void *Again = nullptr;
  EXPECT_EQ (Notify (Guid, A, &OfA), EFI_SUCCESS);
  EXPECT_EQ (Notify (Guid, B, &OfB), EFI_SUCCESS);
  EXPECT_EQ (Notify (Guid, A, &Again), EFI_SUCCESS);
  EXPECT_EQ (Again, OfA);
  EXPECT_EQ (Notify (&gEfiSmmRscHandlerProtocolGuid, nullptr, &OfA), EFI_NOT_FOUND);
  EXPECT_EQ (Notify (Guid, nullptr, &OfA), EFI_SUCCESS);
  EXPECT_EQ (Notify (Guid, nullptr, &OfA), EFI_NOT_FOUND);
  EXPECT_EQ (ProtocolNotificationCount (), 1U);
  FirmwareSignalReadyToLock ();
  EXPECT_EQ (Called, "B");
}

TEST_F (Firmware, ClosesTheBootServicesAtReadyToLock)
{
  int Image = 0;
  void *Interface = nullptr;
  const EFI_HANDLE Handle = FirmwareAddImage (&Image, sizeof Image);
  EXPECT_EQ (BootServices ().HandleProtocol (Handle, &gEfiLoadedImageProtocolGuid, &Interface),
             EFI_SUCCESS);
  EXPECT_EQ (static_cast<EFI_LOADED_IMAGE_PROTOCOL *> (Interface)->ImageBase, &Image);
  FirmwareSignalReadyToLock ();
  EXPECT_EQ (FaultOf ([&] {
               BootServices ().HandleProtocol (Handle, &gEfiLoadedImageProtocolGuid, &Interface);
             }),
             "a boot service was called after SmmReadyToLock");
  EXPECT_EQ (FaultOf ([&] { BootServices ().Stall (); }), "the firmware has no boot service Stall");
}

TEST_F (Firmware, FailsCallsAsPlanned)
{
  FaultPlanFail (ServiceSmmAllocatePool, 2, EFI_NOT_READY);
  AllocateSmm ();
  void *Block = nullptr;
  EXPECT_EQ (gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 5, &Block), EFI_NOT_READY);
  EXPECT_EQ (Block, UndefinedPointer ());
  EXPECT_EQ (gPools[PoolSmm].Allocations, 1U);

  gFaultPlan.AnyService = {.Call = 3, .Status = 5}; // a warning
  EXPECT_EQ (gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 5, &Block), 5U);
  EXPECT_EQ (gPools[PoolSmm].Allocations, 2U);
  EXPECT_EQ (gFaultPlan.AllCalls, 3U);
  EXPECT_EQ (gFaultPlan.Planned[ServiceSmmAllocatePool], 2U);
}

TEST_F (Firmware, AnswersWithTheFirstSuccessOfItsListeners)
{
  void *Interface = nullptr;
  ASSERT_EQ (
      gSmmSystemTable.SmmLocateProtocol (&gEfiSmmRscHandlerProtocolGuid, nullptr, &Interface),
      EFI_SUCCESS);
  const auto &Router = *static_cast<EFI_SMM_RSC_HANDLER_PROTOCOL *> (Interface);
  const auto Report = [] (UINT32 Value) {
    return FirmwareReportStatusCode (EFI_ERROR_CODE, Value, 0, nullptr, nullptr);
  };
  const EFI_SMM_RSC_HANDLER_CALLBACK Refuses =
      [] (UINT32, UINT32, UINT32, EFI_GUID *, EFI_STATUS_CODE_DATA *)
          EFIAPI -> EFI_STATUS { return EFI_UNSUPPORTED; };
  const EFI_SMM_RSC_HANDLER_CALLBACK TakesSeven =
      [] (UINT32, UINT32 Value, UINT32, EFI_GUID *, EFI_STATUS_CODE_DATA *)
          EFIAPI -> EFI_STATUS { return Value == 7 ? EFI_SUCCESS : EFI_DEVICE_ERROR; };
  EXPECT_EQ (Report (7), EFI_NOT_FOUND);
  EXPECT_EQ (Router.Register (TakesSeven), EFI_SUCCESS);
  EXPECT_EQ (Router.Register (Refuses), EFI_SUCCESS);
  EXPECT_EQ (Router.Register (Refuses), EFI_ALREADY_STARTED);
  EXPECT_EQ (Report (7), EFI_SUCCESS);
  EXPECT_EQ (Report (8), EFI_UNSUPPORTED);
  EXPECT_EQ (Router.Unregister (TakesSeven), EFI_SUCCESS);
  EXPECT_EQ (Report (7), EFI_UNSUPPORTED);
}

TEST_F (Firmware, RefusesADebugClientOfAnotherRevision)
{
  gDebugService.Revision = 0x10000;
  EXPECT_EQ (gDebugService.Assert ("File", 7, "Some != Other"), EFI_SUCCESS);
  EXPECT_EQ (World.Log.back ().Text, "ASSERT File:7 Some != Other\n");
  EXPECT_NE (FaultOf ([] { gDebugService.AssertWithName ("Module", "File", 7, "Text"); }), "");
}

std::string EFIAPI
Expand (UINTN Size, const CHAR8 *Format, ...)
{
  std::string Text (Size, '?');
  VA_LIST Args;
  VA_START (Args, Format);
  const UINTN Length = DebugFormat (Text.data (), Size, Format, Args);
  VA_END (Args);
  EXPECT_EQ (Text[Length], 0);
  return Text.substr (0, Length);
}

TEST_F (Firmware, ExpandsDebugMessages)
{
  const struct {
    const char *Format;
    UINT64 Argument;
    const char *Text;
  } Rows[] = {
      {"100%%\n", 0, "100%\n"},
      {"<%d>", 0xFFFFFFFE, "<-2>"},
      {"%d", 0x100000007, "7"},
      {"%ld", 0x100000007, "4294967303"},
      {"%ld", 0x8000000000000000, "-9223372036854775808"},
      {"%05d|", static_cast<UINT64> (-42), "-0042|"},
      {"%5d|", 42, "   42|"},
      {"%-5d|", 42, "42   |"},
      {"0x%X", 0xABC, "0xABC"},
      {"%4x|", 0xAB, "  AB|"},
      {"%4X|", 0xAB, "00AB|"},
      {"%x", 0x1FFFFFFFF, "FFFFFFFF"},
      {"%lX", 0x1FFFFFFFF, "1FFFFFFFF"},
      {"%a", 0, "<null string>"},
      {"%6a|", reinterpret_cast<UINT64> ("id"), "    id|"},
      {"%s", reinterpret_cast<UINT64> (u"Name"), "Name"},
      {"%r", EFI_SUCCESS, "Success"},
      {"%r", 5, "Warning Stale Data"},
      {"%r", 6, "00000006"},
      {"%r", EFI_NOT_FOUND, "Not Found"},
      {"%r", EfiErrorCode (33), "Compromised Data"},
      {"%r", EfiErrorCode (34), "00000022"},
      {"%r", EfiErrorCode (0), "00000000"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Format);
    EXPECT_EQ (Expand (40, Row.Format, Row.Argument), Row.Text);
  }
  EXPECT_EQ (Expand (5, "ab%dcd", 123456), "ab12");
  EXPECT_EQ (Expand (40, "%a %d", "two", 2), "two 2");
  EXPECT_NE (FaultOf ([] { Expand (40, "%q", 0); }), "");
}

} // namespace
