#include "SmmServicesTableLib.h"

#include "Protocol/SmmBase2.h"

constinit EFI_SMM_SYSTEM_TABLE2 *gSmst = nullptr;

namespace {

constexpr CHAR8 SourceFile[] = "MdePkg/Library/SmmServicesTableLib/SmmServicesTableLib";
constexpr SourceSite SmmBase2Located = {SourceFile, 46};
constexpr AssertionSite SmmBase2NotNull = {SourceFile, 47, "InternalSmmBase2 != ((void *) 0)"};
constexpr AssertionSite SmstNotNull = {SourceFile, 53, "gSmst != ((void *) 0)"};

/// Locates a protocol by the boot services of SystemTable. The assertions that the table and its
/// boot services exist have been made by an earlier constructor, and may have returned.
EFI_STATUS
LocateBySystemTable (EFI_SYSTEM_TABLE *SystemTable, const EFI_GUID *Guid, VOID **Interface)
{
  if (SystemTable == nullptr || SystemTable->BootServices == nullptr) {
    return EFI_UNSUPPORTED;
  }
  return SystemTable->BootServices->LocateProtocol (Guid, nullptr, Interface);
}

} // namespace

EFI_SMM_SYSTEM_TABLE2 *
GetServicesTable (EFI_SYSTEM_TABLE *SystemTable,
                  const EFI_GUID *BaseProtocolGuid,
                  const SourceSite &Located,
                  const AssertionSite &InterfaceNotNull)
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = LocateBySystemTable (SystemTable, BaseProtocolGuid, &Interface);
  ASSERT_EFI_ERROR (Status, Located);
  if (EFI_ERROR (Status)) {
    Interface = nullptr;
  }
  ASSERT (Interface != nullptr, InterfaceNotNull);
  if (Interface == nullptr) {
    return nullptr;
  }

  const auto *Base = static_cast<const EFI_SMM_BASE2_PROTOCOL *> (Interface);
  EFI_SMM_SYSTEM_TABLE2 *Table = nullptr;
  // The table alone tells whether this worked.
  (void)Base->GetSmstLocation (Base, &Table);
  return Table;
}

EFI_STATUS EFIAPI
SmmServicesTableLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable)
{
  gSmst =
      GetServicesTable (SystemTable, &gEfiSmmBase2ProtocolGuid, SmmBase2Located, SmmBase2NotNull);
  ASSERT (gSmst != nullptr, SmstNotNull);
  return EFI_SUCCESS;
}
