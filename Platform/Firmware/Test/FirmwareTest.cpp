#include "FirmwareFixture.h"

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

} // namespace
