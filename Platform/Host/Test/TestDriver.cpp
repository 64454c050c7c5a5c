/// A driver that does on each status code what the record's first letter says.

#include "Machine.h"
#include "Protocol/SmmBase2.h"
#include "Protocol/SmmDebugService.h"
#include "Protocol/SmmIpmiTransport.h"
#include "Protocol/SmmRscHandler.h"
#include "Uefi/SmmSystemTable.h"

extern "C" {
constinit UINTN gReportCount = 0;
}

namespace {

constinit EFI_SMM_SYSTEM_TABLE2 *mSmst = nullptr;

template <typename Protocol>
Protocol *
Locate (const EFI_GUID &Guid)
{
  VOID *Interface = nullptr;
  return EFI_ERROR (mSmst->SmmLocateProtocol (&Guid, nullptr, &Interface))
             ? nullptr
             : static_cast<Protocol *> (Interface);
}

VOID
StopInAssertion ()
{
  Locate<SmmDebugServiceProtocol> (gSmmDebugServiceProtocolGuid)
      ->AssertWithName ("TestDriver", "Test/Driver", 12, "Some != Other");
  for (;;) {
    CpuPause ();
  }
}

EFI_STATUS
SendEvent (const UINT8 *Record)
{
  auto *Transport = Locate<SmmIpmiTransportProtocol> (gSmmIpmiTransportProtocolGuid);
  UINT8 Response[2] = {};
  UINT8 ResponseSize = sizeof Response;
  const EFI_STATUS Status =
      Transport->SendIpmiCommand (Transport, 0x32, 0, 0x2C, Record, 1, Response, &ResponseSize);
  return EFI_ERROR (Status) ? Status : Response[0];
}

/// Writes one byte behind a block.
VOID
OverrunPool ()
{
  VOID *Block = nullptr;
  if (!EFI_ERROR (mSmst->SmmAllocatePool (EfiRuntimeServicesData, 150, &Block))) {
    static_cast<volatile UINT8 *> (Block)[150] = 0;
  }
}

UINT32
OwnApicId ()
{
  UINT32 Edx = 0;
  AsmCpuidEx (0xB, 0, nullptr, nullptr, nullptr, &Edx);
  return Edx;
}

EFI_STATUS EFIAPI
Listen (EFI_STATUS_CODE_TYPE, EFI_STATUS_CODE_VALUE, UINT32, EFI_GUID *, EFI_STATUS_CODE_DATA *Data)
{
  __atomic_add_fetch (&gReportCount, 1, __ATOMIC_RELAXED);
  const auto *Record = reinterpret_cast<const UINT8 *> (Data + 1);
  switch (Record[0]) {
  case 'a':
    StopInAssertion ();
    break;
  case 'c':
    return OwnApicId ();
  case 'e':
    return SendEvent (Record);
  case 'i':
    return IoRead8 (0x3F8);
  case 'p':
    OverrunPool ();
    break;
  case 'r':
    return static_cast<const volatile UINT8 *> (Record)[1];
  case 't':
    return AsmReadTsc ();
  default:
    break;
  }
  return EFI_SUCCESS;
}

} // namespace

extern "C" EFI_STATUS EFIAPI
_ModuleEntryPoint (EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable)
{
  VOID *Base2 = nullptr;
  EFI_STATUS Status =
      SystemTable->BootServices->LocateProtocol (&gEfiSmmBase2ProtocolGuid, nullptr, &Base2);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  const auto *Base = static_cast<const EFI_SMM_BASE2_PROTOCOL *> (Base2);
  Status = Base->GetSmstLocation (Base, &mSmst);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  return Locate<EFI_SMM_RSC_HANDLER_PROTOCOL> (gEfiSmmRscHandlerProtocolGuid)->Register (Listen);
}
