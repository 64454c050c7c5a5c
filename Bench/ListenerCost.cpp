/// What one call of the listener takes of the image itself: instructions, stack and calls of
/// services, by class, number of devices and place of the match; beside it the instructions of
/// ListenerFloor.
///
/// The image that scripts/image has built is stepped through in this process, on a processor whose
/// local APIC is memory-mapped: its id takes longer to read than that of one in MSR mode.
#include <iostream>

#include <fmt/format.h>

#include "BenchInventory.h"
#include "BootServices.h"
#include "BuiltImage.h"
#include "DebugService.h"
#include "FaultPlan.h"
#include "ImageInstance.h"
#include "IpmiTransport.h"
#include "ListenerFloor.h"
#include "ProtocolDatabase.h"
#include "Record/RequestData.h"
#include "SimulatedPlatform.h"
#include "SmmServices.h"
#include "SteppedProcessor.h"
#include "SystemInventory.h"

namespace {

EFI_SMM_RSC_HANDLER_CALLBACK mListener = nullptr;
std::vector<FloorMessage> mMessages;
UINTN mCommands = 0;

EFI_STATUS EFIAPI
KeepListener (EFI_SMM_RSC_HANDLER_CALLBACK Callback)
{
  mListener = Callback;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
KeepMessage (UINTN Level, const CHAR8 *ModuleName, const CHAR8 *Format, VA_LIST Arguments)
{
  mMessages.push_back ({Level, ModuleName, Format, Arguments});
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
CountCommand (SmmIpmiTransportProtocol *,
              UINT8,
              UINT8,
              UINT8,
              const UINT8 *,
              UINT8,
              UINT8 *Response,
              UINT8 *ResponseSize)
{
  ++mCommands;
  Response[0] = 0;
  *ResponseSize = 1;
  return EFI_SUCCESS;
}

/// Has the identity of the machine's processor.
class ListeningProcessor : public SteppedProcessor {
  CpuidRegisters
  Cpuid (UINT32 Leaf, UINT32 SubLeaf) override
  {
    return gHostMachine->Cpuid (Leaf, SubLeaf);
  }

  UINT64
  ReadMsr (UINT32 Index) override
  {
    return gHostMachine->ReadMsr (Index);
  }
};

/// Steps through Function, of whose instructions those from Begin to End are watched.
CodeWatch
Step (UINTN Function, std::initializer_list<UINT64> Arguments, const VOID *Begin, const VOID *End)
{
  ListeningProcessor Processor;
  Processor.Watch.Begin = reinterpret_cast<UINTN> (Begin);
  Processor.Watch.End = reinterpret_cast<UINTN> (End);
  (void)Processor.Run (Function, RegisterFile (0, Arguments));
  return Processor.Watch;
}

struct Class {
  const char *Name;
  UINT8 ErrorClass;
  UINT8 OtherClass; ///< Of devices that it does not look at.
};
constexpr Class Classes[] = {{"processor", ErrorClassProcessor, ErrorClassMemory},
                             {"memory", ErrorClassMemory, ErrorClassPcie},
                             {"PCIe", ErrorClassPcie, ErrorClassMemory}};

constexpr struct {
  const char *Name;
  MatchPlace Place;
} Places[] = {{"first", MatchPlace::First},
              {"last", MatchPlace::Last},
              {"none", MatchPlace::None},
              {"each", MatchPlace::Each}};

/// Prints the row of one error.
void
Measure (const ImageInstance &Image,
         const Class &Of,
         const char *Name,
         MatchPlace Match,
         UINTN Count,
         BenchInventory &Inventory)
{
  gInventory = Inventory.Info;
  mMessages.clear ();
  mCommands = 0;
  const UINTN PoolCalls = gFaultPlan.AllCalls;
  const auto Data = reinterpret_cast<UINTN> (Inventory.Record (Of.ErrorClass));
  const CodeWatch Error = Step (reinterpret_cast<UINTN> (mListener),
                                {EFI_ERROR_CODE, HARDWARE_ERROR_STATUS_CODE, 0, 0, Data},
                                Image.Base, Image.Base + Image.Size);
  const UINTN Calls = mMessages.size () + mCommands + (gFaultPlan.AllCalls - PoolCalls);

  const std::vector<FloorMessage> Messages = mMessages;
  const FloorCalls Least = {.Inventory = &gInventory,
                            .LookedAt = Match == MatchPlace::First ? 1 : Count,
                            .DeviceType = Of.ErrorClass,
                            .DebugService = &gDebugService,
                            .Smst = &gSmmSystemTable,
                            .Transport = &gIpmiTransport,
                            .Messages = Messages.data (),
                            .MessageCount = Messages.size (),
                            .HasEvent = mCommands != 0};
  const CodeWatch Floor = Step (reinterpret_cast<UINTN> (ListenerFloor),
                                {reinterpret_cast<UINTN> (&Least)}, gFloorBegin, gFloorEnd);
  std::cout << fmt::format ("{} {} {} {} {} {} {}\n", Of.Name, Name, Count, Error.Instructions,
                            Floor.Instructions, Error.StackDepth (), Calls);
}

void
MeasureAll (const ImageInstance &Image)
{
  for (const Class &Of : Classes) {
    BenchInventory Inventory (0);
    for (const UINTN Count : {1U, 8U, 64U, 512U, 4096U}) {
      for (const auto &[Name, Place] : Places) {
        // Stepping takes its time, and the longest walks differ in their ends alone.
        if (Count > 512 && (Place == MatchPlace::None || Place == MatchPlace::Each)) {
          continue;
        }
        Inventory.Fill (Of.ErrorClass, Count, Place);
        Measure (Image, Of, Name, Place, Count, Inventory);
      }
      Inventory.Fill (Of.OtherClass, Count, MatchPlace::None);
      Measure (Image, Of, "other", MatchPlace::None, Count, Inventory);
    }
    Inventory.RedfishId.assign (REDFISH_ID_SIZE_MAX - 1, 'x');
    Inventory.Fill (Of.ErrorClass, 1, MatchPlace::First);
    Measure (Image, Of, "longest_id", MatchPlace::First, 1, Inventory);
  }
}

} // namespace

int
main ()
{
  PlatformDescription Description;
  Description.Processors = {{"intel-sapphire-rapids", 0, false}};
  SimulatedPlatform Platform (Description);
  gHostMachine = &Platform.Machine;
  EFI_SMM_RSC_HANDLER_PROTOCOL Router = {.Register = KeepListener, .Unregister = nullptr};
  EFI_HANDLE Handle = nullptr;
  ProtocolRemove (ProtocolSmm, &gEfiSmmRscHandlerProtocolGuid);
  (void)ProtocolInstall (&Handle, &gEfiSmmRscHandlerProtocolGuid, &Router);
  gDebugService.PrintWithName = KeepMessage;
  gIpmiTransport.SendIpmiCommand = CountCommand;
  ImageInstance Image (ReadBuiltFile (ImageName));
  Image.Run ([&] { (void)Image.Entry (&Router, &gSystemTable); });
  if (mListener == nullptr) {
    std::cerr << "ListenerCost: the image has registered no listener\n";
    return 1;
  }

  std::cout << "class match devices instructions floor stack calls\n";
  Image.Run ([&] { MeasureAll (Image); });
  return 0;
}
