/// One error from the status code to the BMC, with all that is logged on the way.

#include "TestPlatform.h"
#include "TestRecords.h"

namespace {

const std::vector<PlatformDescription::Device> Devices = {
    ProcessorDevice ("CPU0", 0),           ProcessorDevice ("CPU1", 1),
    MemoryDevice ("DIMM_S1C1D0", 1, 1, 0), MemoryDevice ("DIMM_S1C2D0", 1, 2, 0),
    PcieDevice ("abc", 0x3B, 2, 1),
};

TEST (ErrorPath, TellsTheBmcOfACorrectedMemoryError)
{
  LoadedPlatform Platform (TwoSockets (Devices));
  const CallResult Result = Platform.Report (MemoryRecord (CperSeverityCorrected, 1, 2, 0));
  EXPECT_EQ (Result.Status, EFI_SUCCESS);
  EXPECT_EQ (Result.Transcript (), "Inside QsmLogErrorWrapper() Memory Error ...\n"
                                   "FindRedFishId() Entry\n"
                                   "Socket = 1;  \n"
                                   "DdrChannel = 2; Dimm = 0 \n"
                                   "Socket = 1;  \n"
                                   "DdrChannel = 2; Dimm = 0 \n"
                                   "Device Found: Memory CE with ID: DIMM_S1C2D0\n"
                                   "Memory Device (Warning)\n"
                                   "Redfish Cmd: DIMM_S1C2D0\n"
                                   "DeviceFound FLAG: 1\n"
                                   "RequestData.InstanceId = DIMM_S1C2D0 \n"
                                   "QSM_OEM_IPMI_REDFISH_COMMAND Status :Success, \n"
                                   "!!! --- IpmiTransportPpi->CommandCompletionCode:0x0 --- !!!\n"
                                   "FindRedFishId() Exiting - Status: Success\n");
  EXPECT_EQ (EventText (Result), "32 0 2C: 00 02 01 44 49 4D 4D 5F 53 31 43 32 44 30 00\n");
}

TEST (ErrorPath, TellsTheBmcOfAFatalPcieError)
{
  LoadedPlatform Platform (TwoSockets (Devices));
  const CallResult Result = Platform.Report (PcieRecord (CperSeverityFatal, 0x3B, 2, 1));
  EXPECT_EQ (Result.Transcript (), "Inside QsmLogErrorWrapper() Pcie Error ...\n"
                                   "FindRedFishId() Entry\n"
                                   "Device Found: PCIe UCE with ID: abc\n"
                                   "PCIe Device (Critical)\n"
                                   "RedFish Cmd: abc\n"
                                   "DeviceFound FLAG: 1\n"
                                   "RequestData.InstanceId = abc \n"
                                   "QSM_OEM_IPMI_REDFISH_COMMAND Status :Success, \n"
                                   "!!! --- IpmiTransportPpi->CommandCompletionCode:0x0 --- !!!\n"
                                   "FindRedFishId() Exiting - Status: Success\n");
  EXPECT_EQ (EventText (Result), "32 0 2C: 00 03 02 61 62 63 00\n");
}

TEST (ErrorPath, TellsTheBmcOfAProcessorErrorOnTheReportingSocket)
{
  LoadedPlatform Platform (TwoSockets (Devices));
  const CallResult Result =
      Platform.Report (ProcessorRecord (CperSeverityRecoverable), {.Processor = 1});
  EXPECT_EQ (Result.Transcript (), "Inside QsmLogErrorWrapper() Processors Error ...\n"
                                   "FindRedFishId() Entry\n"
                                   "Socket: 1\n"
                                   "RedFish(Warning) Cmd: CPU1\n"
                                   "DeviceFound FLAG: 1\n"
                                   "RequestData.InstanceId = CPU1 \n"
                                   "QSM_OEM_IPMI_REDFISH_COMMAND Status :Success, \n"
                                   "!!! --- IpmiTransportPpi->CommandCompletionCode:0x0 --- !!!\n"
                                   "FindRedFishId() Exiting - Status: Success\n");
  EXPECT_EQ (EventText (Result), "32 0 2C: 00 01 01 43 50 55 31 00\n");
}

TEST (ErrorPath, LogsTheRemainingSeverityLinesOfEachClass)
{
  LoadedPlatform Platform (TwoSockets (Devices));
  const struct {
    std::vector<UINT8> Record;
    std::string Lines;
  } Rows[] = {
      {MemoryRecord (CperSeverityFatal, 1, 2, 0), "Device Found: Memory UCE with ID: DIMM_S1C2D0\n"
                                                  "Memory Device (Critical)\n"
                                                  "RedFish Cmd: DIMM_S1C2D0\n"},
      {PcieRecord (CperSeverityCorrected, 0x3B, 2, 1), "Device Found: PCIe CE with ID: abc\n"
                                                       "PCIe Device (Warning)\n"
                                                       "RedFishCmd: abc\n"},
      {ProcessorRecord (CperSeverityFatal), "Socket: 0\nRedFish(Critical) Cmd: CPU0\n"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Lines);
    EXPECT_NE (Platform.Report (Row.Record).Transcript ().find ("\n" + Row.Lines + "DeviceFound"),
               std::string::npos);
  }
}

TEST (ErrorPath, LogsEveryLineOfAnErrorAtTheProgressLevel)
{
  LoadedPlatform Platform (TwoSockets (Devices));
  for (const auto &Record : {MemoryRecord (CperSeverityFatal, 1, 2, 0), ProcessorRecord (1)}) {
    for (const DebugLine &Line : Platform.Report (Record).Log) {
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
