#include "FirmwareFixture.h"

#include "DebugFormat.h"
#include "Pool.h"
#include "Protocol/SmmReadyToLock.h"
#include "Protocol/SmmRscHandler.h"
#include "ProtocolDatabase.h"
#include "SmmServices.h"

namespace {

TEST_F (Firmware, KnowsEveryPoolBlock)
{
  const auto &Boot = *FirmwareSystemTable ()->BootServices;
  void *First = nullptr;
  void *Second = nullptr;
  gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 5, &First);
  gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 5, &Second);
  EXPECT_EQ (gSmmSystemTable.SmmFreePool (First), EFI_SUCCESS);
  EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 1U);
  EXPECT_THROW (gSmmSystemTable.SmmFreePool (First), PlatformFault);
  EXPECT_THROW (gSmmSystemTable.SmmFreePool (static_cast<UINT8 *> (Second) + 1), PlatformFault);
  EXPECT_THROW (Boot.FreePool (Second), PlatformFault) << "of the other pool";

  FirmwareSignalReadyToLock ();
  EXPECT_THROW (Boot.AllocatePool (EfiBootServicesData, 5, &First), PlatformFault);
}

TEST_F (Firmware, CallsNoNotificationThatHasBeenRemoved)
{
  static UINTN Calls;
  Calls = 0;
  const EFI_SMM_NOTIFY_FN Count = [] (const EFI_GUID *, void *, EFI_HANDLE) EFIAPI -> EFI_STATUS {
    ++Calls;
    return EFI_SUCCESS;
  };
  const auto Notify = gSmmSystemTable.SmmRegisterProtocolNotify;
  void *Registration = nullptr;
  EXPECT_EQ (Notify (&gEfiSmmReadyToLockProtocolGuid, Count, &Registration), EFI_SUCCESS);
  FirmwareSignalReadyToLock ();
  EXPECT_EQ (Notify (&gEfiSmmReadyToLockProtocolGuid, nullptr, &Registration), EFI_SUCCESS);
  FirmwareSignalReadyToLock ();
  EXPECT_EQ (Calls, 1U);
}

TEST_F (Firmware, AnswersWithTheFirstSuccessOfItsListeners)
{
  void *Interface = nullptr;
  gSmmSystemTable.SmmLocateProtocol (&gEfiSmmRscHandlerProtocolGuid, nullptr, &Interface);
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
      {"%ld", 0x8000000000000000, "-9223372036854775808"},
      {"%05d|", static_cast<UINT64> (-42), "-0042|"},
      {"%-5d|", 42, "42   |"},
      {"0x%X", 0xABC, "0xABC"},
      {"%4X|", 0xAB, "00AB|"},
      {"%x", 0x1FFFFFFFF, "FFFFFFFF"},
      {"%a", 0, "<null string>"},
      {"%s", reinterpret_cast<UINT64> (u"Name"), "Name"},
      {"%r", 5, "Warning Stale Data"},
      {"%r", 6, "00000006"},
      {"%r", EfiErrorCode (33), "Compromised Data"},
      {"%r", EfiErrorCode (34), "00000022"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Format);
    EXPECT_EQ (Expand (40, Row.Format, Row.Argument), Row.Text);
  }
  EXPECT_EQ (Expand (5, "ab%dcd", 123456), "ab12");
  EXPECT_EQ (Expand (40, "%a %d", "two", 2), "two 2");
  EXPECT_THROW (Expand (40, "%q", 0), PlatformFault);
}

} // namespace
