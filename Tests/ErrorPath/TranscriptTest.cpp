/// One error from the status code to the BMC, with all that is logged on the way.

#include "TestPlatform.h"
#include "TestRecords.h"

namespace {

const std::vector<PlatformDescription::Device> Devices = {
    ProcessorDevice ("CPU0", 0),           ProcessorDevice ("CPU1", 1),
    MemoryDevice ("DIMM_S1C1D0", 1, 1, 0), MemoryDevice ("DIMM_S1C2D0", 1, 2, 0),
    PcieDevice ("abc", 0x3B, 2, 1),
};

TEST (ErrorPath, TellsTheBmcOfAnErrorOfEachClassAndSeverity)
{
  const std::string MemoryWalk = "Socket = 1;  \n"
                                 "DdrChannel = 2; Dimm = 0 \n"
                                 "Socket = 1;  \n"
                                 "DdrChannel = 2; Dimm = 0 \n";
  const struct {
    std::vector<UINT8> Record;
    std::string Class;
    std::string Lines; ///< From the entry to the device's find.
    std::string Id;
  } Rows[] = {
      {MemoryRecord (CperSeverityCorrected, 1, 2, 0), "Memory",
       MemoryWalk + "Device Found: Memory CE with ID: DIMM_S1C2D0\n"
                    "Memory Device (Warning)\n"
                    "Redfish Cmd: DIMM_S1C2D0\n",
       "DIMM_S1C2D0"},
      {MemoryRecord (CperSeverityFatal, 1, 2, 0), "Memory",
       MemoryWalk + "Device Found: Memory UCE with ID: DIMM_S1C2D0\n"
                    "Memory Device (Critical)\n"
                    "RedFish Cmd: DIMM_S1C2D0\n",
       "DIMM_S1C2D0"},
      {PcieRecord (CperSeverityCorrected, 0x3B, 2, 1), "Pcie",
       "Device Found: PCIe CE with ID: abc\nPCIe Device (Warning)\nRedFishCmd: abc\n", "abc"},
      {PcieRecord (CperSeverityFatal, 0x3B, 2, 1), "Pcie",
       "Device Found: PCIe UCE with ID: abc\nPCIe Device (Critical)\nRedFish Cmd: abc\n", "abc"},
      {ProcessorRecord (CperSeverityRecoverable), "Processors",
       "Socket: 1\nRedFish(Warning) Cmd: CPU1\n", "CPU1"},
      {ProcessorRecord (CperSeverityFatal), "Processors",
       "Socket: 1\nRedFish(Critical) Cmd: CPU1\n", "CPU1"},
  };
  LoadedPlatform Platform (TwoSockets (Devices));
  for (const auto &Row : Rows) {
    const CallResult Result = Platform.Report (Row.Record, {.Processor = 1});
    EXPECT_EQ (Result.Status, EFI_SUCCESS);
    EXPECT_EQ (Result.Transcript (),
               "Inside QsmLogErrorWrapper() " + Row.Class +
                   " Error ...\n"
                   "FindRedFishId() Entry\n" +
                   Row.Lines +
                   "DeviceFound FLAG: 1\n"
                   "RequestData.InstanceId = " +
                   Row.Id +
                   " \n"
                   "QSM_OEM_IPMI_REDFISH_COMMAND Status :Success, \n"
                   "!!! --- IpmiTransportPpi->CommandCompletionCode:0x0 --- !!!\n"
                   "FindRedFishId() Exiting - Status: Success\n");
    EXPECT_EQ (Result.Events.size (), 1U);
    for (const DebugLine &Line : Result.Log) {
      EXPECT_EQ (Line.Level, 0x40U) << Line.Text;
    }
  }
}

TEST (ErrorPath, LogsWhyAnErrorIsDropped)
{
  LoadedPlatform Platform (TwoSockets (Devices));
  CallResult Result = Platform.Report (PcieRecord (CperSeverityFatal, 0x3B, 2, 0));
  const std::string NotFound = "Device is not Found Flag: 0\n"
                               "FindRedFishId() Exiting - Device Not Found\n";
  EXPECT_EQ (Result.Transcript (), "Inside QsmLogErrorWrapper() Pcie Error ...\n"
                                   "FindRedFishId() Entry\n" +
                                       NotFound);
  EXPECT_EQ (Result.Status, EFI_SUCCESS);
  EXPECT_EQ (EventText (Result), "");

  // A severity without an event shows after the processor's socket line.
  Result = Platform.Report (ProcessorRecord (CperSeverityInformational));
  EXPECT_EQ (Result.Transcript (), "Inside QsmLogErrorWrapper() Processors Error ...\n"
                                   "FindRedFishId() Entry\n"
                                   "Socket: 0\n" +
                                       NotFound);
  EXPECT_EQ (EventText (Result), "");
}

} // namespace
