/// Which status codes are taken up, which device an error belongs to, and how bad it is.

#include "TestPlatform.h"
#include "TestRecords.h"

#include <thread>

#include "SystemInventory.h"

namespace {

/// The id of the one event of a call, or "none".
std::string
EventId (const CallResult &Result)
{
  if (Result.Events.empty ()) {
    return "none";
  }
  EXPECT_EQ (Result.Events.size (), 1U);
  const std::vector<UINT8> &Data = Result.Events.front ().Data;
  EXPECT_EQ (Data.back (), 0);
  return {Data.begin () + 3, Data.end () - 1};
}

TEST (StatusCodeFilter, TakesUpHardwareErrorsOnly)
{
  LoadedPlatform Platform (TwoSockets ({PcieDevice ("abc", 1, 2, 3)}));
  const std::vector<UINT8> Record = PcieRecord (CperSeverityFatal, 1, 2, 3);
  const struct {
    EFI_STATUS_CODE_TYPE CodeType;
    EFI_STATUS_CODE_VALUE Value;
    bool Taken;
  } Rows[] = {
      {0x00000002, 0x03071008, true},  {0x80000002, 0x03071008, true},
      {0xFFFFFF02, 0x03071008, true},  {0x00000001, 0x03071008, false},
      {0x00000003, 0x03071008, false}, {0x00000202, 0x03071008, true},
      {0x00000012, 0x03071008, false}, {0x00000002, 0x03071009, false},
      {0x00000002, 0x83071008, false}, {0x00000002, 0x03061008, false},
      {0x00000002, 0x03070008, false}, {0x00000002, 0, false},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (testing::Message () << std::hex << Row.CodeType << " " << Row.Value);
    const CallResult Result =
        Platform.Report (Record, {.CodeType = Row.CodeType, .Value = Row.Value});
    EXPECT_EQ (Result.Status, Row.Taken ? EFI_SUCCESS : EFI_UNSUPPORTED);
    EXPECT_EQ (EventId (Result), Row.Taken ? "abc" : "none");
    EXPECT_EQ (Result.Log.empty (), !Row.Taken);
  }

  // Nothing of the header counts.
  for (const UINT8 Fill : {UINT8{0}, UINT8{0xFF}}) {
    std::vector<UINT8> Data (sizeof (EFI_STATUS_CODE_DATA), Fill);
    Data.insert (Data.end (), Record.begin (), Record.end ());
    EXPECT_EQ (
        EventId (Platform.ReportStatusCode (
            EFI_ERROR_CODE, 0x03071008, reinterpret_cast<EFI_STATUS_CODE_DATA *> (Data.data ()))),
        "abc");
  }
  const CallResult Null = Platform.ReportStatusCode (EFI_ERROR_CODE, 0x03071008, nullptr);
  EXPECT_EQ (Null.Status, EFI_UNSUPPORTED);
  EXPECT_EQ (Null.Transcript (), "");
}

TEST (StatusCodeFilter, DropsOtherSectionsInSilence)
{
  LoadedPlatform Platform (TwoSockets ({MemoryDevice ("dimm", 0, 0, 0)}));
  EFI_GUID Other = gEfiPlatformMemoryErrorSectionGuid;
  for (UINT8 *Byte : {reinterpret_cast<UINT8 *> (&Other.Data1), &Other.Data4[7]}) {
    *Byte ^= 1;
    const CallResult Result = Platform.Report (
        RecordBytes (NoiseRecord (CperSeverityFatal, Other), offsetof (ErrorRecord, Memory)));
    EXPECT_EQ (Result.Status, EFI_SUCCESS);
    EXPECT_EQ (Result.Transcript (), "");
    *Byte ^= 1;
  }
}

TEST (EventSeverity, FollowsTheClassAndTheRecordHeader)
{
  LoadedPlatform Platform (TwoSockets (
      {ProcessorDevice ("cpu", 0), MemoryDevice ("dimm", 0, 0, 0), PcieDevice ("card", 0, 0, 0)}));
  const std::string None;
  const std::string Warning = "01";
  const std::string Critical = "02";
  const struct {
    UINT32 ErrorSeverity;
    std::string Processor, Memory, Pcie;
  } Rows[] = {
      {0, Warning, Critical, Warning}, {1, Critical, Critical, Critical},
      {2, Warning, Warning, Warning},  {3, None, Critical, None},
      {4, None, Critical, None},       {0x101, None, Critical, None},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.ErrorSeverity);
    const auto Expect = [&] (const std::vector<UINT8> &Record, const std::string &Class,
                             const std::string &Severity) {
      const std::string Event = EventText (Platform.Report (Record));
      EXPECT_EQ (Event.substr (0, 17),
                 Severity == None ? "" : "32 0 2C: 00 " + Class + " " + Severity);
    };
    Expect (ProcessorRecord (Row.ErrorSeverity), "01", Row.Processor);
    Expect (MemoryRecord (Row.ErrorSeverity, 0, 0, 0), "02", Row.Memory);
    Expect (PcieRecord (Row.ErrorSeverity, 0, 0, 0), "03", Row.Pcie);
  }
}

TEST (DeviceMatching, TakesTheFirstDeviceThatEqualsInAllFields)
{
  DescribedDevice UnknownType = MemoryDevice ("type 0", 1, 2, 3);
  UnknownType.Type = 0;
  LoadedPlatform Platform (TwoSockets ({
      UnknownType,
      MemoryDevice ("other socket", 0, 2, 3),
      MemoryDevice ("other channel", 1, 1, 3),
      MemoryDevice ("other dimm", 1, 2, 2),
      MemoryDevice ("dimm", 1, 2, 3),
      MemoryDevice ("same dimm again", 1, 2, 3),
      PcieDevice ("other bus", 4, 6, 7),
      PcieDevice ("other device", 5, 7, 7),
      PcieDevice ("other function", 5, 6, 6),
      PcieDevice ("card", 5, 6, 7),
      PcieDevice ("same card, other segment", 5, 6, 7),
      PcieDevice ("last device", 0xFF, 31, 7),
  }));
  const struct {
    const char *Name;
    std::vector<UINT8> Record;
    const char *Id;
  } Rows[] = {
      {"memory", MemoryRecord (1, 1, 2, 3), "dimm"},
      {"high bytes do not count", MemoryRecord (1, 0x0101, 0xFF02, 0x8003), "dimm"},
      {"low byte differs", MemoryRecord (1, 0x0100, 2, 3), "other socket"},
      {"no such socket", MemoryRecord (1, 2, 2, 3), "none"},
      {"pcie", PcieRecord (1, 5, 6, 7), "card"},
      {"pcie maximum", PcieRecord (1, 0xFF, 31, 7), "last device"},
      {"device beyond 31", PcieRecord (1, 5, 0x26, 7), "none"},
      {"function beyond 7", PcieRecord (1, 5, 6, 0x0F), "none"},
      {"no processor in the inventory", ProcessorRecord (1), "none"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    EXPECT_EQ (EventId (Platform.Report (Row.Record)), Row.Id);
  }

  const auto Record = MemoryRecord (1, 1, 2, 3);
  const HostWorld::Position Start = Platform.World.Now ();
  Platform.Drivers[0]->Symbol<VOID (UINT8, const ErrorRecord *)> ("FindRedFishId") (
      UnknownType.Type, reinterpret_cast<const ErrorRecord *> (Record.data ()));
  EXPECT_TRUE (Platform.World.RequestsSince (Start, 0).empty ()) << "a class that there is not";
}

TEST (DeviceMatching, FindsTheSocketOfEachReportingProcessorAtTheSameTime)
{
  PlatformDescription Description = TwoSockets ({
      ProcessorDevice ("beyond a byte", 0x102),
      ProcessorDevice ("socket 0", 0),
      ProcessorDevice ("socket 2", 2),
      ProcessorDevice ("socket 1", 1),
  });
  // The package number's low byte counts: with 7 bits of core and thread this is package 0x102.
  Description.Processors.push_back ({"intel-sapphire-rapids", 0x102 << 7, true});
  LoadedPlatform Platform (Description);
  const auto Report = [&] (UINTN Processor) {
    for (int Index = 0; Index < 100; ++Index) {
      EXPECT_EQ (EventId (Platform.Report (ProcessorRecord (1), {.Processor = Processor})),
                 "socket " + std::to_string (Processor));
    }
  };
  std::thread Other (Report, 1);
  Report (0);
  Report (2);
  Other.join ();
}

TEST (Inventory, IsLookedAtAnewForEachError)
{
  LoadedPlatform Platform (TwoSockets ({PcieDevice ("abc", 1, 2, 3)}));
  const std::vector<UINT8> Record = PcieRecord (CperSeverityFatal, 1, 2, 3);
  gInventory.DataReady = 0;
  EXPECT_EQ (EventId (Platform.Report (Record)), "none");

  gInventory.DataReady = 0x80;
  EXPECT_EQ (EventId (Platform.Report (Record)), "abc");
  EXPECT_EQ (EventId (Platform.Report (Record)), "abc") << "a repeat is not suppressed";

  gInventory.DeviceCount = UINT64{1} << 32;
  EXPECT_EQ (EventId (Platform.Report (Record)), "abc");
  gInventory.DeviceCount = 0;
  EXPECT_EQ (EventId (Platform.Report (Record)), "none");
}

TEST (RedfishId, IsCutToItsBuffer)
{
  const std::string Long (400, 'x');
  std::vector<DescribedDevice> Devices;
  const UINTN Lengths[] = {0, 1, 148, 149, 150, 400};
  for (const UINTN Length : Lengths) {
    Devices.push_back (
        PcieDevice (Long.substr (0, Length), static_cast<UINT8> (Devices.size ()), 0, 0));
  }
  Devices.push_back (PcieDevice (std::nullopt, 0xFF, 0, 0));
  LoadedPlatform Platform (TwoSockets (Devices));
  UINT8 Bus = 0;
  for (const UINTN Length : Lengths) {
    SCOPED_TRACE (Length);
    EXPECT_EQ (EventId (Platform.Report (PcieRecord (1, Bus++, 0, 0))),
               Long.substr (0, std::min<UINTN> (Length, 149)));
  }
  EXPECT_EQ (EventId (Platform.Report (PcieRecord (1, 0xFF, 0, 0))), "<null string>");
}

} // namespace
