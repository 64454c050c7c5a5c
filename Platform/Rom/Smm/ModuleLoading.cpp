#include "ModuleLoading.h"

#include "BootServices.h"
#include "Dispatcher.h"
#include "Firmware.h"
#include "FoundRecord.h"
#include "ImageLoader.h"
#include "MachineLog.h"
#include "ProcessorInstructions.h"
#include "ProtocolDatabase.h"
#include "SmmPaging.h"

namespace {

using ModuleEntry = EFI_STATUS (EFIAPI *) (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

constexpr UINT64 PageSize = 0x1000;

/// Where the next module goes.
struct LoadingState {
  UINTN Number;
  UINT64 Base;
};

constinit SmmModule mModules[ModuleMax] = {};

UINT64
WholePages (UINT64 Size)
{
  return (Size + PageSize - 1) & ~(PageSize - 1);
}

/// The title of a module, as the log's %s takes it.
const VOID *
TitleOf (const SmmModule &Module)
{
  static constexpr CHAR16 None[] = u"a module without a title";
  return Module.Title.Bytes != nullptr ? static_cast<const VOID *> (Module.Title.Bytes) : None;
}

[[noreturn]] VOID
Refuse (const SmmModule &Module, const CHAR8 *Wrong)
{
  EndRun (EndSettings, "smm: %s: %a\n", TitleOf (Module), Wrong);
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
Protect (const SmmModule &Module, const ImageFile &Image, UINT64 Base)
{
  SmmPagingSet (Base, WholePages (Image.Headers->ImageSize), PageRead);
  for (UINTN Index = 0; Index < Image.Headers->SectionCount; ++Index) {
    const SectionHeader &Section = Image.Sections[Index];
    if (Section.Address % PageSize != 0) {
      Refuse (Module, "a section does not begin with a page");
    }
    SmmPagingSet (Base + Section.Address, WholePages (Section.MemorySize), AccessOf (Section));
  }
}

/// Lays the image of a module out at Base, ready to run.
ImageFile
Place (const SmmModule &Module, UINT64 Base)
{
  ImageFile Image;
  const CHAR8 *Wrong = OpenImage (Module.Image.Bytes, Module.Image.Size, Image);
  if (Wrong != nullptr) {
    Refuse (Module, Wrong);
  }
  if (WholePages (Image.Headers->ImageSize) > SMM_DRIVERS_BASE + SMM_DRIVERS_SIZE - Base) {
    Refuse (Module, "there is no room for it");
  }
  SmmPagingSet (Base, WholePages (Image.Headers->ImageSize), PageWrite);
  ForgetTranslations ();
  Wrong = PlaceImage (Image, reinterpret_cast<UINT8 *> (Base), Base);
  if (Wrong != nullptr) {
    Refuse (Module, Wrong);
  }
  Protect (Module, Image, Base);
  ForgetTranslations ();
  return Image;
}

VOID
StartModule (VOID *Context, const SmmModule &Module)
{
  auto *State = static_cast<LoadingState *> (Context);
  const UINTN Number = State->Number++;
  const UINT64 Base = State->Base;
  const ImageFile Image = Place (Module, Base);
  State->Base += WholePages (Image.Headers->ImageSize);
  const EFI_HANDLE Handle =
      FirmwareAddImage (reinterpret_cast<VOID *> (Base), Image.Headers->ImageSize);
  const auto Entry = reinterpret_cast<ModuleEntry> (Base + Image.Headers->EntryPoint);
  LogPrint ("smm: module %ld at 0x%lx, %d bytes: %s\n", Number, Base, Image.Headers->ImageSize,
            TitleOf (Module));
  const EFI_STATUS Status = Entry (Handle, &gSystemTable);
  if (EFI_ERROR (Status)) {
    LogPrint ("smm: module %ld left: %r\n", Number, Status);
  } else {
    LogPrint ("smm: module %ld resident\n", Number);
  }
}

bool
IsThere (VOID *, const EFI_GUID *Protocol)
{
  VOID *Interface = nullptr;
  return !EFI_ERROR (ProtocolLocate (ProtocolSmm, Protocol, &Interface)) ||
         !EFI_ERROR (ProtocolLocate (ProtocolBoot, Protocol, &Interface));
}

VOID
TellWaiting (VOID *, const SmmModule &Module, const EFI_GUID &For)
{
  LogPrint ("smm: %s waits for %g\n", TitleOf (Module), &For);
}

} // namespace

void
LoadModules ()
{
  if (gFound.VolumeSize == 0) {
    return;
  }
  // What lies outside SMRAM may change at any time, so the volume is checked in its copy.
  auto *Volume = reinterpret_cast<UINT8 *> (SMM_VOLUME_BASE);
  __builtin_memcpy (Volume, reinterpret_cast<const VOID *> (VOLUME_BASE), gFound.VolumeSize);
  UINTN Count = 0;
  VolumeFault Fault = ReadVolume (Volume, gFound.VolumeSize, mModules, ModuleMax, Count);
  if (Fault.Text != nullptr) {
    EndRun (EndSettings, "smm: volume: byte 0x%lx: %a\n", Fault.Offset, Fault.Text);
  }
  LoadingState State = {.Number = 0, .Base = SMM_DRIVERS_BASE};
  const DispatchWorld World = {
      .Context = &State, .IsThere = IsThere, .Start = StartModule, .Waits = TellWaiting};
  UINTN Refused = 0;
  Fault = DispatchModules (mModules, Count, World, Refused);
  if (Fault.Text != nullptr) {
    EndRun (EndSettings, "smm: %s: dependency expression, byte 0x%lx: %a\n",
            TitleOf (mModules[Refused]), Fault.Offset, Fault.Text);
  }
}
