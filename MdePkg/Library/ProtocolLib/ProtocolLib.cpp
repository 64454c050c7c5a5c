#include "ProtocolLib.h"

#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

/// A failed call may leave anything behind.
EFI_STATUS
NullUnlessFound (EFI_STATUS Status, VOID **Interface)
{
  if (EFI_ERROR (Status)) {
    *Interface = nullptr;
  }
  return Status;
}

} // namespace

EFI_STATUS
SearchBootProtocol (const EFI_GUID *Guid, VOID **Interface)
{
  *Interface = nullptr;
  return NullUnlessFound (
      gBS != nullptr ? gBS->LocateProtocol (Guid, nullptr, Interface) : EFI_UNSUPPORTED, Interface);
}

EFI_STATUS
SearchSmmProtocol (const EFI_GUID *Guid, VOID **Interface)
{
  *Interface = nullptr;
  return NullUnlessFound (gSmst != nullptr ? gSmst->SmmLocateProtocol (Guid, nullptr, Interface)
                                           : EFI_UNSUPPORTED,
                          Interface);
}

EFI_STATUS
LocateBootProtocol (const EFI_GUID *Guid, VOID **Interface)
{
  const EFI_STATUS Status = SearchBootProtocol (Guid, Interface);
  return SearchStatus (Status, *Interface);
}

EFI_STATUS
LocateSmmProtocol (const EFI_GUID *Guid, VOID **Interface)
{
  const EFI_STATUS Status = SearchSmmProtocol (Guid, Interface);
  return SearchStatus (Status, *Interface);
}

EFI_STATUS
BindSmmProtocol (const EFI_GUID *Guid,
                 const AssertionSite &TableNotNull,
                 const SourceSite &Located,
                 VOID **Interface)
{
  *Interface = nullptr;
  if (gSmst == nullptr) {
    ASSERT (false, TableNotNull);
    return EFI_UNSUPPORTED;
  }
  const EFI_STATUS Status = LocateSmmProtocol (Guid, Interface);
  ASSERT_EFI_ERROR (Status, Located);
  return EFI_ERROR (Status) ? Status : EFI_SUCCESS;
}

EFI_STATUS
RegisterSmmNotify (const EFI_GUID *Protocol, EFI_SMM_NOTIFY_FN Function, VOID **Registration)
{
  *Registration = nullptr;
  return NullUnlessFound (gSmst != nullptr
                              ? gSmst->SmmRegisterProtocolNotify (Protocol, Function, Registration)
                              : EFI_UNSUPPORTED,
                          Registration);
}

EFI_STATUS
UnregisterSmmNotify (const EFI_GUID *Protocol, VOID **Registration)
{
  if (*Registration == nullptr) {
    return EFI_SUCCESS;
  }
  const EFI_STATUS Status = gSmst->SmmRegisterProtocolNotify (Protocol, nullptr, Registration);
  if (!EFI_ERROR (Status)) {
    *Registration = nullptr;
  }
  return Status;
}
