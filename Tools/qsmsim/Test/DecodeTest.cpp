#include "QsmsimTest.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "EventVectors.h"

namespace {

using Json = nlohmann::json;

class Decode : public QsmsimTest {};

TEST_F (Decode, ReadsEachFormOfAnEvent)
{
  const std::string A = "memory, Warning, \"A\": a memory error that was corrected\n  from ";
  const std::string Cut =
      "memory, Critical, \"CPU1_C12_D1\": a memory error that was not corrected\n"
      "  from record 26 of the system event log, without a time\n"
      "  note: the id may be cut to its first 11 characters\n";
  const std::string Bytes = "0202435055315f4331325f4431";
  const struct {
    std::string Input, Output;
  } Rows[] = {
      {"00 02 01 41 00", A + "the command's bytes, without a time\n"},
      {"0x32 0x2c 0x0 0x3 0x2 0x41 0x42 0x43 0x44 0x45 0x46 0x47 0x0",
       "pcie, Critical, \"ABCDEFG\": a fatal PCIe error\n  from the command's bytes, without a "
       "time\n"},
      {"0x32 0x2c 0x0 0x2 0x1 0x41 0x0", A + "the command's bytes, without a time\n"},
      {"C82C0002014100", A + "the command's bytes, without a time\n"},
      {"NetFn 0x32, LUN 0, Cmd 0x2C: 00 02 01 41 00", A + "the command's bytes, without a time\n"},
      {"3: memory, Warning, \"A\": 00 02 01 41 00",
       A + "event 3 of the BMC's log, without a time\n"},
      {"3: 2026-11-25T09:30:00Z, memory, Warning, \"A\": 00 02 01 41 00",
       A + "event 3 of the BMC's log, 2026-11-25T09:30:00Z\n"},
      {"3: memory, Critical, \"B\": 00 02 01 41 00",
       A + "event 3 of the BMC's log, without a time\n  note: the line says something else beside "
           "the bytes: memory, Critical, \"B\"\n"},
      {R"({"sequence":3,"class":"pcie","severity":"Warning","id":"A","bytes":"00 02 01 41 00"})",
       A + "event 3 of the BMC's log, without a time\n  note: the line says something else beside "
           "the bytes: pcie, Warning, \"A\"\n"},
      {R"({"sequence":3,"id":"A","bytes":"00 02 01 41 00"})",
       A + "event 3 of the BMC's log, without a time\n"},
      {"refused: 2026-11-25T09:30:00Z, 0xC4, out of space, NetFn 0x32, LUN 0, Cmd 0x2C: 00 02 01 "
       "41 "
       "00",
       A + "the BMC's log, 2026-11-25T09:30:00Z\n"
           "  note: the BMC has refused it: 0xC4, out of space\n"},
      {R"({"refused":"out of space","completionCode":196,"time":"2026-11-25T09:30:00Z",)"
       R"("netFunction":50,"lun":0,"command":44,"bytes":"00 02 01 41 00"})",
       A + "the BMC's log, 2026-11-25T09:30:00Z\n"
           "  note: the BMC has refused it: 0xC4, out of space\n"},
      {"1a | OEM record e0 | " + Bytes, Cut},
      {"1a,,,OEM record e0," + Bytes, Cut},
      {"SEL Record ID : 001a Record Type : e0 (OEM non-timestamped) OEM Defined : " + Bytes +
           " [..CPU1_C12_D1]",
       Cut},
      {"03024100000000000000000000", "pcie, Critical, \"A\": a fatal PCIe error\n"
                                     "  from a record of the system event log, without a time\n"},
      {"00 01 01 00", "processor, Warning, \"\": a processor error that was corrected or "
                      "recoverable\n  from the command's bytes, without a time\n  note: the "
                      "inventory has the device without an id: which one it was is not known\n"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Input);
    const ToolResult Result = Run ("decode " + Row.Input);
    EXPECT_EQ (Result.Err, "");
    EXPECT_EQ (Result.Out, Row.Output);
  }
}

TEST_F (Decode, RefusesWhatIsNoEvent)
{
  const std::string Long (4097, '0');
  const Refusal Rows[] = {
      {"decode 00 zz", "BYTES: expected bytes in hexadecimal, a line of a log of qsmbmc, or an OEM "
                       "record e0 as ipmitool prints it, found \"zz\""},
      {"decode {\"id\":\"A\"}",
       "BYTES: expected a line of a log of qsmbmc, with \"bytes\", found other JSON"},
      {R"(decode {"time":"now","bytes":"00 02 01 41 00"})",
       "BYTES: expected a time like \"2026-11-25T09:30:00Z\""},
      {"decode 1 | OEM record e0 | 0201", "BYTES: expected 13 bytes of an OEM record e0, found 2"},
      {"decode NetFn 0x06, LUN 0, Cmd 0x01: ",
       "BYTES: expected NetFn 0x32, Cmd 0x2C, found NetFn 0x06, Cmd 0x01 (a BMC answers 0xC1, "
       "invalid command)"},
      {"decode 00 04 01 41 00",
       "BYTES: byte 1: expected a class, 1 to 3, found 0x04 (a BMC answers "
       "0xCC, invalid data field)"},
      {"decode " + Long, "BYTES: expected at most 4096 characters, found 4097"},
      {"decode --redfish refused: 2026-11-25T09:30:00Z, 0xC4, out of space, NetFn 0x32, LUN 0, Cmd "
       "0x2C: 00 02 01 41 00",
       "BYTES: expected an event that the BMC has taken, it has refused this one: 0xC4, out of "
       "space"},
      {"decode 00 --json --redfish", "--json excludes --redfish (see --help)"},
  };
  ExpectRefused (Rows);
}

/// The properties of the published schema LogEntry.v1_15_0 that an event can have, with their
/// values as JSON.
constexpr struct {
  const char *Name;
  bool IsRequired;
  const char *Value;
} LogEntrySchema[] = {
    {"@odata.id", true, R"("/redfish/v1/[^"]+")"},
    {"@odata.type", true, R"("#LogEntry\.v1_15_0\.LogEntry")"},
    {"Created", false, R"("[0-9]{4}(-[0-9]{2}){2}T[0-9]{2}(:[0-9]{2}){2}Z")"},
    {"EntryType", true, R"re("(Event|SEL|Oem|CXL)")re"},
    {"Id", true, R"("[^"]+")"},
    {"Links", false, R"(\{"OriginOfCondition":\{"@odata\.id":"/redfish/v1/[^"]+"\}\})"},
    {"Message", false, R"("[^"]*")"},
    {"MessageArgs", false, R"(\["[^"]+"\])"},
    {"MessageId", false, R"("\w+\.[0-9]+\.[0-9]+\.\w+")"},
    {"Name", true, R"("[^"]+")"},
    {"Severity", false, R"re("(OK|Warning|Critical)")re"},
};

void
ExpectLogEntry (const Json &Entry)
{
  UINTN Known = 0;
  for (const auto &[Name, IsRequired, Value] : LogEntrySchema) {
    Known += Entry.count (Name);
    if (IsRequired || Entry.contains (Name)) {
      EXPECT_THAT (Entry.value (Name, Json ()).dump (), testing::MatchesRegex (Value))
          << Name << " of " << Entry;
    }
  }
  EXPECT_EQ (Entry.size (), Known) << Entry;
}

TEST_F (Decode, AgreesWithTheVectorsAndTheRedfishSchema)
{
  ASSERT_GT (EventVectors ().size (), 15U);
  for (const EventVector &Vector : EventVectors ()) {
    SCOPED_TRACE (Vector.Line);
    const std::string Line = "decode NetFn 0x32, LUN " + std::to_string (Vector.Lun) +
                             ", Cmd 0x2C: " + HexText (Vector.Data);
    const ToolResult Result = Run (Line + " --redfish");
    EXPECT_EQ (Result.ExitCode, Vector.CompletionCode == 0 ? 0 : 2);
    if (Vector.CompletionCode != 0) {
      EXPECT_NE (Result.Err.find ("answers 0x" + HexText ({&Vector.CompletionCode, 1})),
                 std::string::npos)
          << Result.Err;
      continue;
    }
    const Json Entry = Json::parse (Result.Out);
    ExpectLogEntry (Entry);
    EXPECT_EQ (Entry.value ("Severity", ""), Vector.Data[2] == 1 ? "Warning" : "Critical");
    const bool IsNamed = Vector.Data[3] != 0 && Vector.Data[3] != '<';
    EXPECT_EQ (Entry.contains ("Links"), IsNamed && Vector.Data.size () < 153);
  }
  ExpectText (
      QSM_EXPECTED_TEXTS "/decode.txt",
      Run ("decode --redfish 4: 2026-11-25T09:30:00Z, pcie, Critical, \"a b/c\": 00 03 02 61 "
           "20 62 2F 63 00")
              .Out +
          Run ("decode --redfish 7 | OEM record e0 | 0201435055315f4331325f4431").Out +
          Run ("decode --json 7 | OEM record e0 | 0201435055315f4331325f4431").Out);
}

} // namespace
