#include "TestPlatform.h"
#include "TestRecords.h"

#include "BootServices.h"
#include "BuiltImage.h"
#include "Firmware.h"
#include "ImageInstance.h"
#include "Protocol/SmmDebugService.h"
#include "ProtocolDatabase.h"
#include "Record/Inventory.h"
#include "StatusCodeRouter.h"

namespace {

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
    Image.Run ([&] { Status = Image.Entry (Handle, &gSystemTable); });
    return Status;
  }

  /// Reports an error and returns the event that the BMC got.
  std::string
  Report (const std::vector<UINT8> &Record)
  {
    CallResult Result;
    Image.Run ([&] { Result = Platform.Report (Record); });
    EXPECT_EQ (Result.Status, EFI_SUCCESS);
    return EventText (Result);
  }

  /// The CPUID of the image is that of the machine on which the test runs: the instruction does not
  /// trap. On every machine APIC id 0 lies in package 0.
  SimulatedPlatform Platform{TwoSockets (
      {MemoryDevice ("C0", 0, 2, 0), MemoryDevice ("G0", 1, 2, 0), ProcessorDevice ("P0", 0)})};
  ImageInstance Image{ReadBuiltFile (ImageName)};
};

TEST_F (ImageRun, ForwardsErrors)
{
  ASSERT_EQ (Start (), EFI_SUCCESS);
  EXPECT_EQ (StatusCodeListenerCount (), 1U);
  EXPECT_EQ (Report (MemoryRecord (CperSeverityCorrected, 1, 2, 0)),
             "32 0 2C: 00 02 01 47 30 00\n");
  EXPECT_EQ (Report (ProcessorRecord (CperSeverityFatal)), "32 0 2C: 00 01 02 50 30 00\n");
  EXPECT_EQ (Report (MemoryRecord (CperSeverityCorrected, 0, 7, 0)), "");
}

TEST_F (ImageRun, ReturnsTheStatusOfAMissingProtocol)
{
  ProtocolRemove (ProtocolSmm, &gOrvSmmSystemInventoryInfoProtocolGuid);
  ProtocolRemove (ProtocolSmm, &gSmmDebugServiceProtocolGuid);
  EXPECT_EQ (Start (), EFI_NOT_FOUND);
  EXPECT_EQ (StatusCodeListenerCount (), 0U);
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

} // namespace
