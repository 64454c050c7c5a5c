/// Any bytes in the hand-off records end in the IIO store that they describe.

#include <cstdlib>
#include <iostream>

#include "BootServices.h"
#include "Firmware.h"
#include "HandOffNoise.h"
#include "HobList.h"
#include "HostWorld.h"
#include "Protocol/SmmDebugService.h"
#include "ProtocolDatabase.h"
#include "RasDebugLib.h"
#include "Record/RasLevelMask.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmRasGlobalDataLib.h"
#include "SmmServices.h"
#include "SmmServicesTableLib.h"
#include "SystemInfoLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

/// The machine of a boot whose IIO store has been built once, with all lines of its dump.
NoiseMachine &
Machine ()
{
  static NoiseMachine Noisy;
  static HostWorld World (Noisy.ProcessorCount ());
  static const EFI_STATUS Status = [] {
    const FirmwareWorld Table = World.Table ();
    FirmwareReset (&Table);
    ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
    constexpr RasLevelMask Flow = {RAS_DEBUG_FLOW};
    HobListAddGuid (&gRasLevelMaskHobGuid, &Flow, sizeof Flow);
    gHostMachine = &Noisy;
    gSmst = &gSmmSystemTable;
    gST = &gSystemTable;
    gBS = gST->BootServices;
    SmmMemoryAllocationLibConstructor (nullptr, nullptr);
    (void)InitializeSmmRasGlobalData (nullptr, nullptr);
    (void)RasDebugLibConstructor ();
    (void)SystemInfoLibConstructor (nullptr, nullptr);
    (void)UpiHostDataLibConstructor (nullptr, nullptr);
    return IioTopologyLibConstructor (nullptr, nullptr);
  }();
  if (Status != EFI_SUCCESS) {
    std::cerr << "the store is not built\n";
    std::abort ();
  }
  return Noisy;
}

} // namespace

extern "C" int
LLVMFuzzerTestOneInput (const UINT8 *Input, size_t Size)
{
  NoiseMachine &Noisy = Machine ();
  if (Size < 4) {
    return 0;
  }
  const std::string Problem = TryNoise ({Input, Size}, Noisy);
  if (!Problem.empty ()) {
    std::cerr << "broken: " << Problem << "\n";
    std::abort ();
  }
  return 0;
}
