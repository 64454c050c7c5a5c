#include "DriverLoading.h"

#include "BootServices.h"
#include "Firmware.h"
#include "FoundRecord.h"
#include "ImageLoader.h"
#include "MachineLog.h"
#include "ProcessorInstructions.h"
#include "SmmPaging.h"

namespace {

using DriverEntry = EFI_STATUS (EFIAPI *) (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

constexpr UINT64 PageSize = 0x1000;

UINT64
WholePages (UINT64 Size)
{
  return (Size + PageSize - 1) & ~(PageSize - 1);
}

PageAccess
AccessOf (const SectionHeader &Section)
{
  if ((Section.Characteristics & PE_SECTION_WRITE) != 0) {
    return PageWrite;
  }
  return (Section.Characteristics & PE_SECTION_EXECUTE) != 0 ? PageExecute : PageRead;
}

/// Gives each section the access that it asks for, and all else of the image, its headers and gaps,
/// that of reading.
VOID
Protect (const ImageFile &Image, UINT64 Base)
{
  SmmPagingSet (Base, WholePages (Image.Headers->ImageSize), PageRead);
  for (UINTN Index = 0; Index < Image.Headers->SectionCount; ++Index) {
    const SectionHeader &Section = Image.Sections[Index];
    const UINT64 Start = Base + Section.Address;
    if (Section.Address % PageSize != 0) {
      EndRun (EndSettings, "smm: driver file: a section does not begin with a page\n");
    }
    SmmPagingSet (Start, WholePages (Section.MemorySize), AccessOf (Section));
  }
}

ImageFile
OpenFile ()
{
  // What lies outside SMRAM may change at any time, so the file is checked in its copy.
  auto *File = reinterpret_cast<UINT8 *> (SMM_FILE_BASE);
  ImageFile Image;
  __builtin_memcpy (File, reinterpret_cast<const VOID *> (DRIVER_FILE_BASE), gFound.DriverFileSize);
  const CHAR8 *Wrong = OpenImage (File, gFound.DriverFileSize, Image);
  if (Wrong != nullptr) {
    EndRun (EndSettings, "smm: driver file: %a\n", Wrong);
  }
  return Image;
}

VOID
LoadDriver (const ImageFile &Image, UINTN Number, UINT64 Base)
{
  SmmPagingSet (Base, WholePages (Image.Headers->ImageSize), PageWrite);
  ForgetTranslations ();
  const CHAR8 *Wrong = PlaceImage (Image, reinterpret_cast<UINT8 *> (Base), Base);
  if (Wrong != nullptr) {
    EndRun (EndSettings, "smm: driver file: %a\n", Wrong);
  }
  Protect (Image, Base);
  ForgetTranslations ();
  const EFI_HANDLE Handle =
      FirmwareAddImage (reinterpret_cast<VOID *> (Base), Image.Headers->ImageSize);
  const auto Entry = reinterpret_cast<DriverEntry> (Base + Image.Headers->EntryPoint);
  LogPrint ("smm: driver %ld at 0x%lx, %d bytes\n", Number, Base, Image.Headers->ImageSize);
  const EFI_STATUS Status = Entry (Handle, &gSystemTable);
  if (EFI_ERROR (Status)) {
    LogPrint ("smm: driver %ld left: %r\n", Number, Status);
  } else {
    LogPrint ("smm: driver %ld resident\n", Number);
  }
}

} // namespace

VOID
LoadDrivers ()
{
  if (gFound.DriverCount == 0) {
    return;
  }
  const ImageFile Image = OpenFile ();
  UINT64 Base = SMM_DRIVERS_BASE;
  for (UINTN Number = 0; Number < gFound.DriverCount; ++Number) {
    if (WholePages (Image.Headers->ImageSize) > SMM_DRIVERS_BASE + SMM_DRIVERS_SIZE - Base) {
      EndRun (EndSettings, "smm: there is no room for driver %ld\n", Number);
    }
    LoadDriver (Image, Number, Base);
    Base += WholePages (Image.Headers->ImageSize);
  }
}
