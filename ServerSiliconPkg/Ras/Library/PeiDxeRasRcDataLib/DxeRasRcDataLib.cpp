#include "PeiDxeRasRcDataLib.h"

#include "DxeSmmStandaloneMmHobLib.h"
#include "Guid/RasRcHob.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr CHAR8 SourceFile[] = "ServerSiliconPkg/Ras/Library/PeiDxeRasRcDataLib/DxeRasRcDataLib";
constexpr AssertionSite HobGuidNotNull = {SourceFile, 90, "HobGuid != ((void *) 0)"};

/// A HOB that has to be there, and what is said when it is not.
struct RequiredHob {
  EFI_GUID Guid;
  AssertionSite Exists;
  const CHAR8 *Message;
};

constexpr RequiredHob RequiredHobs[] = {
    {gRasRcPolicyHobGuid,
     {SourceFile, 57, "Policy != ((void *) 0)"},
     "ERROR: RAS RC policy HOB does not exist!"},
    {gRasRcConfigHobGuid,
     {SourceFile, 64, "Config != ((void *) 0)"},
     "ERROR: RAS RC config HOB does not exist!"},
};

} // namespace

EFI_STATUS EFIAPI
RasRcDataLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  EFI_STATUS Status = EFI_SUCCESS;
  for (const RequiredHob &Hob : RequiredHobs) {
    const VOID *Data = GetRasRcHobData (&Hob.Guid);
    ASSERT (Data != nullptr, Hob.Exists);
    if (Data == nullptr) {
      DEBUG (DEBUG_ERROR, Hob.Message);
      Status = EFI_NOT_FOUND;
    }
  }
  return Status;
}

VOID *
GetRasRcHobData (const EFI_GUID *HobGuid)
{
  ASSERT (HobGuid != nullptr, HobGuidNotNull);
  if (HobGuid == nullptr) {
    return nullptr;
  }
  return DataOfGuidHob (GetFirstGuidHob (HobGuid)).Start;
}
