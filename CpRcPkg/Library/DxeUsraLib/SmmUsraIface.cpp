#include "DxeUsraLib.h"

#include "ProtocolLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "CpRcPkg/Library/DxeUsraLib/SmmUsraIface";
constexpr SourceSite ProtocolLocated = {SourceFile, 59};
constexpr AssertionSite InterfaceNotNull = {SourceFile, 63, "mUsra != ((void *) 0)"};

} // namespace

UsraProtocol *
UsraLocate ()
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = SearchSmmProtocol (&gUsraProtocolGuid, &Interface);
  ASSERT_EFI_ERROR (Status, ProtocolLocated);
  // Here even a warning counts as a failure.
  if (Status != EFI_SUCCESS) {
    return nullptr;
  }
  ASSERT (Interface != nullptr, InterfaceNotNull);
  return static_cast<UsraProtocol *> (Interface);
}
