/// How many instructions of the image its load takes, and one call of the listener, which is also
/// watched for how deep it goes into the stack of System Management Mode.

#include "TestPlatform.h"

#include <iostream>

#include "BootServices.h"
#include "BuiltImage.h"
#include "DebugService.h"
#include "Firmware.h"
#include "ImageInstance.h"
#include "Protocol/SmmRscHandler.h"
#include "ProtocolDatabase.h"
#include "Record/ErrorRecord.h"
#include "SteppedProcessor.h"

namespace {

constexpr UINTN StackDepthMax = 1536;
constexpr UINTN LoadInstructionsMax = 3000000;

EFI_SMM_RSC_HANDLER_CALLBACK mListener = nullptr;

EFI_STATUS EFIAPI
KeepListener (EFI_SMM_RSC_HANDLER_CALLBACK Callback)
{
  mListener = Callback;
  return EFI_SUCCESS;
}

/// Expanding the messages would be most of what is stepped through.
EFI_STATUS EFIAPI
DiscardMessage (UINTN, const CHAR8 *, const CHAR8 *, VA_LIST)
{
  return EFI_SUCCESS;
}

TEST (Load, TakesFewInstructions)
{
  const std::pair<const char *, PlatformDescription> Platforms[] = {
      {"two sockets", TwoSockets ({})}, {"four sockets", FourSockets ()}};
  for (const auto &[Name, Description] : Platforms) {
    SimulatedPlatform Platform (Description);
    gHostMachine = &Platform.Machine;
    gDebugService.PrintWithName = DiscardMessage;
    ImageInstance Image (ReadBuiltFile (ImageName));
    const EFI_HANDLE Handle = FirmwareAddImage (Image.Base, Image.Size);
    SteppedProcessor Processor;
    Processor.OnlyWatches = true;
    Processor.Watch.Begin = reinterpret_cast<UINTN> (Image.Base);
    Processor.Watch.End = Processor.Watch.Begin + Image.Size;
    Image.Run ([&] {
      const RegisterFile Exit =
          Processor.Run (Image.Entry, RegisterFile (0, {reinterpret_cast<UINTN> (Handle),
                                                        reinterpret_cast<UINTN> (&gSystemTable)}));
      EXPECT_EQ (Exit.General[RAX], EFI_SUCCESS);
    });
    EXPECT_EQ (Platform.Machine.Uart.Sent, "") << "the port is idle";
    EXPECT_LT (Processor.Watch.Instructions, LoadInstructionsMax);
    EXPECT_LT (Processor.Watch.StackDepth (), StackDepthMax);
    std::cout << Name << ": " << Processor.Watch.StackDepth () << " bytes of stack, "
              << Processor.Watch.Instructions << " instructions\n";
  }
}

TEST (ListenerCall, StaysWithinItsShareOfTheStack)
{
  SimulatedPlatform Platform (
      TwoSockets ({ProcessorDevice ("CPU1", 0), MemoryDevice ("CPU1_C2_D0", 0, 0, 0),
                   PcieDevice ("Slot3_NVMe0", 0, 0, 0)}));
  gHostMachine = &Platform.Machine;
  EFI_SMM_RSC_HANDLER_PROTOCOL Router = {.Register = KeepListener, .Unregister = nullptr};
  EFI_HANDLE Handle = nullptr;
  ProtocolRemove (ProtocolSmm, &gEfiSmmRscHandlerProtocolGuid);
  ASSERT_EQ (ProtocolInstall (&Handle, &gEfiSmmRscHandlerProtocolGuid, &Router), EFI_SUCCESS);

  gDebugService.PrintWithName = DiscardMessage;

  ImageInstance Image (ReadBuiltFile (ImageName));
  EFI_STATUS Status = EFI_NOT_STARTED;
  Image.Run ([&] { Status = Image.Entry (&Router, &gSystemTable); });
  ASSERT_EQ (Status, EFI_SUCCESS);

  const struct {
    const char *Name;
    EFI_GUID SectionType;
  } Classes[] = {{"processor", gEfiProcessorGenericErrorSectionGuid},
                 {"memory", gEfiPlatformMemoryErrorSectionGuid},
                 {"PCIe", gEfiPcieErrorSectionGuid}};
  for (const auto &Class : Classes) {
    SCOPED_TRACE (Class.Name);
    struct {
      EFI_STATUS_CODE_DATA Header;
      ErrorRecord Record;
    } Data = {};
    Data.Record.Section.SectionType = Class.SectionType;
    Data.Record.Header.ErrorSeverity = CperSeverityCorrected;

    SteppedProcessor Processor;
    Processor.Watch.Begin = reinterpret_cast<UINTN> (Image.Base);
    Processor.Watch.End = Processor.Watch.Begin + Image.Size;
    // IA32_APIC_BASE with the local APIC on and in x2APIC mode; no HTT, so package 0.
    Processor.Answer = 0xC00;
    const UINTN Requests = Platform.World.Requests.size ();
    const RegisterFile Exit =
        Processor.Run (mListener, RegisterFile (0, {EFI_ERROR_CODE, HARDWARE_ERROR_STATUS_CODE, 0,
                                                    0, reinterpret_cast<UINTN> (&Data.Header)}));
    const UINTN Depth = Processor.Watch.StackDepth ();
    EXPECT_EQ (Exit.General[RAX], EFI_SUCCESS);
    EXPECT_EQ (Platform.World.Requests.size (), Requests + 1);
    EXPECT_LT (Depth, StackDepthMax);
    std::cout << Class.Name << ": " << Depth << " bytes of stack, " << Processor.Watch.Instructions
              << " instructions\n";
  }
}

} // namespace
