#include "LibraryCall.h"

#include "AutoGen.h"
#include "SmmDebugServiceLib.h"

VOID
CallLibraries (const LibraryFunction *Functions,
               UINTN Count,
               UINTN FirstLine,
               EFI_HANDLE ImageHandle,
               EFI_SYSTEM_TABLE *SystemTable)
{
  for (UINTN Index = 0; Index < Count; ++Index) {
    const SourceSite Site = {AutoGenSourceFile, LibraryLine (FirstLine, Index)};
    const LibraryFunction &Library = Functions[Index];
    if (Library.FormA != nullptr) {
      const EFI_STATUS Status = Library.FormA (ImageHandle, SystemTable);
      ASSERT_EFI_ERROR (Status, Site);
    } else {
      const RETURN_STATUS Status = Library.FormB ();
      ASSERT_RETURN_ERROR (Status, Site);
    }
  }
}
