#include "FirmwareTestBench.h"

#include "BootServices.h"
#include "DebugService.h"
#include "Firmware.h"
#include "HandOffRecords.h"
#include "SmmServices.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

PlatformDescription
TwoProcessors ()
{
  PlatformDescription Description;
  Description.Processors = {{"intel-sapphire-rapids", 0x00, true},
                            {"intel-sapphire-rapids", 0x80, true}};
  return Description;
}

} // namespace

EFI_STATUS EFIAPI
GivesNothing (EFI_MEMORY_TYPE, UINTN, VOID **Buffer)
{
  *Buffer = nullptr;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
KnowsNoSize (const EFI_SMM_ACCESS2_PROTOCOL *, UINTN *, EFI_SMRAM_DESCRIPTOR *)
{
  return EFI_SUCCESS;
}

FirmwareTestBench::FirmwareTestBench ()
    : Machine (TwoProcessors ()), World (Machine.ProcessorCount ())
{
  PowerOn ();
  gHostMachine = &Machine;
  gSmst = &gSmmSystemTable;
  gST = &gSystemTable;
  gBS = gST->BootServices;
}

FirmwareTestBench::~FirmwareTestBench ()
{
  gHostMachine = nullptr;
  gSmst = nullptr;
  gST = nullptr;
  gBS = nullptr;
}

void
FirmwareTestBench::PowerOn ()
{
  const FirmwareWorld Table = World.Table ();
  FirmwareReset (&Table);
  if (!HasDebugService) {
    ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
  }
  Machine.Pci.Clear ();
  Machine.Pci.Populate (gTopology);
}

void
FirmwareTestBench::InstallDebugService ()
{
  ProtocolPublish (ProtocolSmm, &gSmmDebugServiceProtocolGuid, &gDebugService);
  HasDebugService = true;
}

std::string
FirmwareTestBench::Messages (UINTN Level) const
{
  std::string Text;
  for (const DebugLine &Line : World.Log) {
    Text += Line.Kind == DebugMessage && Line.Level == Level ? Line.Text : "";
  }
  return Text;
}

std::string
FirmwareTestBench::LastAssertion (std::size_t Start) const
{
  if (World.Log.size () == Start || World.Log.back ().Kind != DebugAssertion) {
    return "no assertion";
  }
  const DebugLine &Last = World.Log.back ();
  return Last.FileName + ":" + std::to_string (Last.LineNumber) + " " + Last.Description;
}
