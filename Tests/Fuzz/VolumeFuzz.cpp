/// Any bytes as a firmware volume: they are refused with a text, or each module's parts lie within
/// them and the dispatcher starts each module at most once.
///
/// The first bit of an input says whether its checksums are made right, the others which protocols
/// are there.

#include <cstdlib>
#include <iostream>

#include "Dispatcher.h"
#include "SealVolume.h"

namespace {

struct Boot {
  UINT8 Choice;
  const SmmModule *Modules;
  UINT32 Started; ///< A bit for each of them.
};
static_assert (ModuleMax <= 32);

void
Require (bool Holds, const char *What)
{
  if (!Holds) {
    std::cerr << "broken: " << What << "\n";
    std::abort ();
  }
}

UINTN
Touch (const FirmwareBytes &Volume, const FilePart &Part)
{
  if (Part.Bytes == nullptr) {
    return 0;
  }
  Require (Part.Bytes >= Volume.data () &&
               Part.Size <= static_cast<UINTN> (Volume.data () + Volume.size () - Part.Bytes),
           "a part lies outside the volume");
  return FirmwareSum8 (Part.Bytes, Part.Size);
}

} // namespace

extern "C" int
LLVMFuzzerTestOneInput (const UINT8 *Input, size_t Size)
{
  if (Size == 0) {
    return 0;
  }
  FirmwareBytes Volume (Input + 1, Input + Size);
  if ((Input[0] & 1) != 0) {
    SealVolume (Volume);
  }
  SmmModule Modules[ModuleMax];
  UINTN Count = 0;
  if (ReadVolume (Volume.data (), Volume.size (), Modules, ModuleMax, Count).Text != nullptr) {
    return 0;
  }
  for (UINTN Index = 0; Index < Count; ++Index) {
    for (const FilePart &Part :
         {Modules[Index].Dependency, Modules[Index].Image, Modules[Index].Title}) {
      Touch (Volume, Part);
    }
  }
  Boot Of = {.Choice = Input[0], .Modules = Modules, .Started = 0};
  const DispatchWorld World = {
      .Context = &Of,
      .IsThere =
          [] (VOID *Context, const EFI_GUID *Protocol) {
            return (static_cast<Boot *> (Context)->Choice >> (Protocol->Data1 % 8) & 1) != 0;
          },
      .Start =
          [] (VOID *Context, const SmmModule &Module) {
            auto *Of = static_cast<Boot *> (Context);
            const UINT32 Bit = UINT32{1} << (&Module - Of->Modules);
            Require ((Of->Started & Bit) == 0, "a module was started twice");
            Of->Started |= Bit;
          },
      .Waits = [] (VOID *, const SmmModule &, const EFI_GUID &) {}};
  UINTN Refused = 0;
  const VolumeFault Fault = DispatchModules (Modules, Count, World, Refused);
  Require (Fault.Text == nullptr ? Refused == Count : Refused < Count && Of.Started == 0,
           "what was refused");
  return 0;
}
