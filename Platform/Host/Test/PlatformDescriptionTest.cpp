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
              {"type": 4, "id": "Fan"}]})";

TEST (PlatformDescription, HasWhatTheTextSays)
{
  const PlatformDescription Platform = ParsePlatformDescription ("text", Good);
  EXPECT_EQ (Platform.Name, "test");
  EXPECT_FALSE (Platform.InventoryReady);
  std::string Processors;
  for (const auto &Processor : Platform.Processors) {
    Processors += Processor.CpuidSet + (Processor.X2Apic ? " x2 " : " x ") +
                  std::to_string (Processor.ApicId) + ", ";
  }
  EXPECT_EQ (Processors,
             "amd-naples x2 256, amd-naples x2 257, intel-tulsa x 7, intel-tulsa x 4294967295, ");
  std::string Devices;
  for (const auto &Device : Platform.Devices) {
    Devices += std::to_string (Device.Type) + " " + Device.Id.value_or ("-");
    for (const uint64_t Number :
         {Device.Socket, uint64_t{Device.Channel}, uint64_t{Device.Dimm}, uint64_t{Device.Bus},
          uint64_t{Device.Device}, uint64_t{Device.Function}}) {
      Devices += " " + std::to_string (Number);
    }
    Devices += "\n";
  }
  EXPECT_EQ (Devices, "1 CPU1 18446744073709551615 0 0 0 0 0\n"
                      "2 - 1 255 3 0 0 0\n"
                      "3 Slot 0 0 0 255 31 7\n"
                      "4 Fan 0 0 0 0 0 0\n");
}

TEST (PlatformDescription, RefusesEachFaultWithOneLine)
{
  const std::string TypeExpected = "$.devices[3].type: expected \"processor\", \"memory\", "
                                   "\"pcie\" or a number from 0 to 255, found ";
  // Each row puts one text of the good description in place of another.
  const struct {
    std::string From, To, Line;
  } Rows[] = {
      {Good, "[]", "$: expected an object, found []"},
      {Good, "{",
       "parse error at line 1, column 2: syntax error while parsing object key - "
       "unexpected end of input; expected string literal"},
      {R"("name": "test",)", "", "$.name: expected a value, found none"},
      {R"("test")", R"("t\u0001")",
       R"($.name: expected a text of printable ASCII characters, found "t\u0001")"},
      {R"("test")", R"("test", "Name": 1)",
       "$.Name: expected no such key here, only name, inventoryReady, processors, devices"},
      {R"("test")", R"("test", "name": "more")",
       R"(expected each key of an object once, "name" comes again)"},
      {"false", "0", "$.inventoryReady: expected true or false, found 0"},
      {R"([7, "0xFFFFFFFF"])", "7", "$.processors[1].apicIds: expected a list, found 7"},
      {R"([7, "0xFFFFFFFF"])", "[7, 257]",
       "$.processors[1].apicIds[1]: expected no second processor of APIC id 257, found 257"},
      {"0xFFFFFFFF", "0x100000000",
       "$.processors[1].apicIds[1]: expected a number from 0 to 4294967295, "
       "found \"0x100000000\""},
      {R"("first": "0x100", )", "", "$.processors[0].first: expected a value, found none"},
      {R"("count": 2)", R"("count": 0)",
       "$.processors[0].count: expected a number from 1 to 1024, found 0"},
      {R"("0x100", "count": 2)", R"("0xFFFFFFFF", "count": 2)",
       "$.processors[0].count: expected a number from 1 to 1, found 2"},
      {R"("count": 2)", R"("count": 1023)",
       "$.processors[1].apicIds[1]: expected at most 1024 processors in all, "
       "found \"0xFFFFFFFF\""},
      {R"("cpuid": "intel-tulsa", "apicIds": [7, "0xFFFFFFFF"])",
       R"("cpuid": "intel-tulsa", "apicIds": [], "first": 1)",
       "$.processors[1].first: expected no such key here, only cpuid, x2apic, apicIds"},
      {"intel-tulsa", "no-such", "$.processors[1].cpuid: expected one of amd-genoa-kvm-guest, "},
      {R"("type": 4)", R"("type": "fan")", TypeExpected + R"("fan")"},
      {R"("type": 4)", R"("type": 256)", TypeExpected + "256"},
      {R"("id": "Fan")", R"("id": "Fan", "socket": 0)",
       "$.devices[3].socket: expected no such key here, only type, id"},
      {R"("id": null, )", "", "$.devices[1].id: expected a value, found none"},
      {R"("channel": 255)", R"("channel": 256)",
       "$.devices[1].channel: expected a number from 0 to 255, found 256"},
      {R"("dimm": 3)", R"("dimm": -1)",
       "$.devices[1].dimm: expected a number from 0 to 255, found -1"},
      {R"("device": 31)", R"("device": 32)",
       "$.devices[2].device: expected a number from 0 to 31, found 32"},
      {R"("function": 7)", R"("function": 8)",
       "$.devices[2].function: expected a number from 0 to 7, found 8"},
      {"18446744073709551615", "18446744073709551616",
       "$.devices[0].socket: expected a number from 0 to 18446744073709551615, "
       "found 1.8446744073709552e+19"},
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
