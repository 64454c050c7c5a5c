#include "CsrPseudoOffsetConvertLibSmm.h"

#include "Protocol/CsrPseudoOffsetTable.h"
#include "ProtocolLib.h"

constinit const VOID *mCsrPseudoOffsetTable = nullptr;

namespace {

constexpr CHAR8 SourceFile[] =
    "ServerSiliconPkg/Library/CsrPseudoOffsetConvertLibSmm/CsrPseudoOffsetConvertLibSmm";
constexpr AssertionSite TableNotNull = {SourceFile, 129, UnreachableAssertionText};
constexpr SourceSite ProtocolLocated = {SourceFile, 138};

} // namespace

EFI_STATUS EFIAPI
CsrPseudoOffsetConvertLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = BindSmmProtocol (&gCsrPseudoOffsetTableProtocolGuid, TableNotNull,
                                             ProtocolLocated, &Interface);
  mCsrPseudoOffsetTable = Interface;
  return Status;
}
