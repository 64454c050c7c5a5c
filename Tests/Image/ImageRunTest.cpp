#include <gtest/gtest.h>

#include "BuiltImage.h"
#include "Firmware.h"
#include "ImageInstance.h"
#include "Pool.h"
#include "Protocol/SmmDebugService.h"
#include "ProtocolDatabase.h"
#include "Record/ErrorClass.h"
#include "Record/ErrorRecord.h"
#include "Record/Inventory.h"
#include "SimulatedPlatform.h"
#include "StatusCodeRouter.h"

namespace {

/// The CPUID of the image is that of the machine on which the test runs: the instruction does not
/// trap. On every machine APIC id 0 lies in package 0.
const PlatformDescription SmallPlatform = {
    .Name = "small",
    .Processors = {{.CpuidSet = "intel-sapphire-rapids", .ApicId = 0, .X2Apic = true}},
    .Devices = {{.Type = ErrorClassMemory, .Id = "DIMM_C0", .Socket = 0, .Channel = 2},
                {.Type = ErrorClassMemory, .Id = "DIMM_G0", .Socket = 1, .Channel = 2},
                {.Type = ErrorClassProcessor, .Id = "CPU_0", .Socket = 0}}};

VOID (*mRecordDebugOutput) (VOID *Context, const DebugEntry *Entry);

/// The built image, on the simulated platform in the place of a driver for the host.
class ImageRun : public testing::Test {
public:
  ImageRun ()
  {
    gHostMachine = &Platform.Machine;
    gWorld.Fault = [] (VOID *, const CHAR8 *Text) { ImageInstance::Stop (Text); };
    // The dead loop behind an assertion does not trap, so the image is left here.
    mRecordDebugOutput = gWorld.DebugOutput;
    gWorld.DebugOutput = [] (VOID *Context, const DebugEntry *Entry) {
      mRecordDebugOutput (Context, Entry);
      if (Entry->Kind == DebugAssertion) {
        ImageInstance::Stop (Entry->Text);
      }
    };
  }

  EFI_STATUS
  Start ()
  {
    EFI_STATUS Status = EFI_NOT_STARTED;
    const EFI_HANDLE Handle = FirmwareAddImage (Image.Base, Image.Size);
    Image.Run ([&] { Status = Image.Entry (Handle, FirmwareSystemTable ()); });
    return Status;
  }

  /// Reports a corrected error. Returns the request that the BMC got: "NetFn Lun Cmd: class
  /// severity id".
  std::string
  Report (const EFI_GUID &SectionType, UINT16 Node, UINT16 Card)
  {
    ErrorRecord Record = {};
    Record.Header.ErrorSeverity = CperSeverityCorrected;
    Record.Section.SectionType = SectionType;
    Record.Memory.Node = Node;
    Record.Memory.Card = Card;
    const std::span Bytes (reinterpret_cast<const UINT8 *> (&Record), sizeof (Record));
    CallResult Result;
    Image.Run ([&] { Result = Platform.Report (Bytes); });
    EXPECT_EQ (Result.Status, EFI_SUCCESS);
    std::string Text;
    for (const BmcRequest &Event : Result.Events) {
      Text += std::to_string (Event.NetFunction) + " " + std::to_string (Event.Lun) + " " +
              std::to_string (Event.Command) + ":";
      for (const UINT8 Byte : Event.Data) {
        Text +=
            Byte < ' ' ? " " + std::to_string (Byte) : std::string (1, static_cast<char> (Byte));
      }
    }
    return Text;
  }

  SimulatedPlatform Platform{SmallPlatform};
  ImageInstance Image{ReadBuiltFile (ImageName)};
};

} // namespace

TEST_F (ImageRun, ForwardsErrors)
{
  ASSERT_EQ (Start (), EFI_SUCCESS);
  EXPECT_EQ (StatusCodeListenerCount (), 1U);
  EXPECT_EQ (Report (gEfiPlatformMemoryErrorSectionGuid, 1, 2), "50 0 44: 0 2 1DIMM_G0 0");
  EXPECT_EQ (Report (gEfiProcessorGenericErrorSectionGuid, 0, 0), "50 0 44: 0 1 1CPU_0 0");
  EXPECT_EQ (Report (gEfiPlatformMemoryErrorSectionGuid, 0, 7), "");
}

TEST_F (ImageRun, ReturnsTheStatusOfAMissingProtocol)
{
  ProtocolRemove (ProtocolSmm, &gOrvSmmSystemInventoryInfoProtocolGuid);
  ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
  EXPECT_EQ (Start (), EFI_NOT_FOUND);
  EXPECT_EQ (StatusCodeListenerCount (), 0U);
  EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 0U);
}

TEST_F (ImageRun, StopsInAnAssertion)
{
  ProtocolRemove (ProtocolSmm, &gOrvSmmSystemInventoryInfoProtocolGuid);
  EXPECT_THROW (Start (), ImageStopped);
  ASSERT_FALSE (Platform.World.Log.empty ());
  const DebugLine &Last = Platform.World.Log.back ();
  EXPECT_EQ (Last.FileName, "VelmoraQsmErrorHandler/VelmoraQsmErrorHandler");
  EXPECT_EQ (Last.LineNumber, 377U);
  EXPECT_EQ (Last.ModuleName, "VelmoraQsmErrorHandler");
}
