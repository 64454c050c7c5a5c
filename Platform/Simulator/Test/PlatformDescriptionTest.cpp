#include "PlatformDescription.h"

#include <gtest/gtest.h>

#include "InputFile.h"

namespace {

constexpr const char *Good = R"({
  "name": "test", "inventoryReady": false,
  "processors": [{"cpuid": "amd-naples", "x2apic": true, "first": "0x100", "count": 2},
                 {"cpuid": "intel-tulsa", "apicIds": [7, "0xFFFFFFFF"]}],
  "devices": [{"type": "processor", "id": "CPU1", "socket": 18446744073709551615},
              {"type": 2, "id": null, "socket": 1, "channel": 255, "dimm": 3},
              {"type": "pcie", "id": "Slot", "bus": "0xFF", "device": 31, "function": 7},
              {"type": 4, "id": "Fan"}],
  "cmos": {"0x4C": 200, "255": "0xFE"}, "logLevelMask": 4294967294,
  "sockets": [{"segment": 3, "maxPort": 57, "absentPorts": [0], "absentStacks": [4, "11"],
               "cxlStacks": [7], "rcrbStacks": []}, null, {}]})";

TEST (PlatformDescription, HasWhatTheTextSays)
{
  const PlatformDescription Platform = ParsePlatformDescription ("text", Good);
  EXPECT_EQ (Platform.Name, "test");
  EXPECT_FALSE (Platform.InventoryReady);
  EXPECT_EQ (Platform.Cmos, (std::map<uint8_t, uint8_t>{{0x4C, 200}, {255, 0xFE}}));
  EXPECT_EQ (Platform.LogLevelMask, 0xFFFFFFFE);
  std::vector<uint32_t> ApicIds;
  for (const auto &Processor : Platform.Processors) {
    EXPECT_EQ (Processor.CpuidSet, ApicIds.size () < 2 ? "amd-naples" : "intel-tulsa");
    EXPECT_EQ (Processor.X2Apic, ApicIds.size () < 2);
    ApicIds.push_back (Processor.ApicId);
  }
  EXPECT_EQ (ApicIds, (std::vector<uint32_t>{256, 257, 7, 0xFFFFFFFF}));

  EXPECT_EQ (Platform.Devices,
             (std::vector<DescribedDevice>{
                 {{.Type = ErrorClassProcessor, .Socket = UINT64_MAX}, "CPU1"},
                 {{.Type = ErrorClassMemory, .Socket = 1, .Channel = 255, .Dimm = 3}, std::nullopt},
                 {{.Type = ErrorClassPcie, .Bus = 255, .Device = 31, .Function = 7}, "Slot"},
                 {{.Type = 4}, "Fan"}}));
}

TEST (PlatformDescription, RefusesEachFaultWithOneLine)
{
  // Each row puts one text of the good description in place of another.
  const struct {
    std::string From, To, Line;
  } Rows[] = {
      {Good, "[]", "$: expected an object, found []"},
      {Good, "{", "parse error at line 1, column 2: syntax error while parsing object key - "},
      {R"("name": "test",)", "", "$.name: expected a value, found none"},
      {"test", R"(t\u0001)",
       R"($.name: expected a text of printable ASCII characters, found "t\u0001")"},
      {R"("name")", R"("Name": 1, "name")", "$.Name: expected no such key here, only name, "},
      {R"("name")", R"("name": 1, "name")",
       R"(expected each key of an object once, "name" comes again)"},
      {"false", "0", "$.inventoryReady: expected true or false, found 0"},
      {R"([7, "0xFFFFFFFF"])", "7", "$.processors[1].apicIds: expected a list, found 7"},
      {"7,", "257,", "$.processors[1].apicIds[0]: expected no second processor of APIC id 257"},
      {"0xFFFFFFFF", "0x100000000",
       "$.processors[1].apicIds[1]: expected a number from 0 to 4294967295, found \"0x1"},
      {"2}", "0}", "$.processors[0].count: expected a number from 1 to 1024, found 0"},
      {"0x100", "0xFFFFFFFF", "$.processors[0].count: expected a number from 1 to 1, found 2"},
      {"2}", "1023}", "$.processors[1].apicIds[1]: expected at most 1024 processors in all, "},
      {R"("apicIds")", R"("first": 1, "apicIds")",
       "$.processors[1].first: expected no such key here, only cpuid, x2apic, apicIds"},
      {"intel-tulsa", "no-such", "$.processors[1].cpuid: expected one of amd-genoa-kvm-guest, "},
      {"4,", "\"fan\",",
       "$.devices[3].type: expected \"processor\", \"memory\", \"pcie\" or a number from 0 to 255"},
      {R"("Fan")", R"("Fan", "socket": 0)",
       "$.devices[3].socket: expected no such key here, only type, id"},
      {"255", "256", "$.devices[1].channel: expected a number from 0 to 255, found 256"},
      {"31", "32", "$.devices[2].device: expected a number from 0 to 31, found 32"},
      {"7}", "8}", "$.devices[2].function: expected a number from 0 to 7, found 8"},
      {R"("255")", R"("256")", "$.cmos.256: expected an offset from 0 to 255 for a key"},
      {R"("255")", R"("76")", "$.cmos.76: expected offset 76 once"},
      {"200", "256", "$.cmos.0x4C: expected a number from 0 to 255, found 256"},
      {R"({"0x4C": 200, "255": "0xFE"})", "[]", "$.cmos: expected an object, found []"},
      {"4294967294", "-1", "$.logLevelMask: expected a number from 0 to 4294967295, found -1"},
      {"18446744073709551615", "18446744073709551616",
       "$.devices[0].socket: expected a number from 0 to 18446744073709551615, found 1.8"},
      {R"("maxPort": 57)", R"("maxPort": 58)",
       "$.sockets[0].maxPort: expected a number from 0 to 57, found 58"},
      {R"("segment": 3)", R"("segment": 4)",
       "$.sockets[0].segment: expected a number from 0 to 3, found 4"},
      {R"("segment": 3)", R"("segment": 2)",
       "$.sockets[2]: expected a segment of its own, not 2 as an earlier socket"},
      {"[7]", R"([7], "rootBuses": ["0xF0"])",
       "$.sockets[0].rootBuses[0]: expected a number from 0 to 239, found \"0xF0\""},
      {R"("11")", "4", "$.sockets[0].absentStacks[1]: expected each number once, found 4"},
      {"[7]", "[8]", "$.sockets[0].cxlStacks[0]: expected a number from 0 to 7, found 8"},
      {"absentPorts", "ports", "$.sockets[0].ports: expected no such key here, only segment, "},
      {"null, {}", "7, {}", "$.sockets[1]: expected an object, found 7"},
      {"null, {}", R"(null, {"maxPort": 3})", "$.sockets[2]: expected ports like those of an "},
      {"null, {}", "null, {}, {}, {}", "$.sockets: expected at most 4 sockets, found "},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.To);
    std::string Text = Good;
    Text.replace (Text.find (Row.From), Row.From.size (), Row.To);
    try {
      ParsePlatformDescription ("text", Text);
      ADD_FAILURE () << "expected: " << Row.Line;
    } catch (const InputError &Error) {
      const std::string Start = "text: " + Row.Line;
      EXPECT_EQ (std::string (Error.what ()).substr (0, Start.size ()), Start);
    }
  }
}

TEST (PlatformDescription, ComesInThreeSizesThatAllLoad)
{
  EXPECT_EQ (BuiltInPlatform ().Name, "Two-socket server");
  const std::filesystem::path Data = QSM_PLATFORM_DATA;
  EXPECT_GT (LoadPlatformDescription (Data / "FourSocket.json").Devices.size (), 32U);
  EXPECT_EQ (LoadPlatformDescription (Data / "Small.json").Processors.size (), 4U);
  EXPECT_THROW (LoadPlatformDescription (Data / "NoSuch.json"), InputError);
}

} // namespace
