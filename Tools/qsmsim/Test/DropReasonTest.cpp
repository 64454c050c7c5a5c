#include "QsmsimTest.h"

#include <algorithm>

#include <nlohmann/json.hpp>

namespace {

class DropReason : public QsmsimTest {};

/// How a record is made and reported, and what the report says of it.
constexpr struct {
  const char *Make, *Options, *Code, *Text;
} Rows[] = {
    {"memory --socket 6 --channel 2 --dimm 0", "", "no-device-at-place",
     "the inventory has no memory device at socket 6, channel 2, dimm 0, and none on that "
     "socket"},
    {"memory --socket 1 --channel 9 --dimm 0", "", "no-device-at-place",
     "the inventory has no memory device at socket 1, channel 9, dimm 0; nearest, with the same "
     "socket: CPU1_C7_D0 (socket 1, channel 7, dimm 0)"},
    {"memory --socket 0x101 --channel 2 --dimm 7", "", "no-device-at-place",
     "the inventory has no memory device at socket 1, channel 2, dimm 7; nearest, with the same "
     "channel: CPU1_C2_D1 (socket 1, channel 2, dimm 1)"},
    {"pcie --bus 1 --device 2 --function 3", "--platform cpu.json", "no-device-at-place",
     "the inventory has no pcie device at 01:02.3; nearest, with the same device: nic (01:02.0)"},
    {"pcie --bus 1 --device 9 --function 3", "--platform cpu.json", "no-device-at-place",
     "the inventory has no pcie device at 01:09.3; nearest, with the same bus: nic (01:02.0)"},
    {"processor", "--platform cpu.json", "no-device-at-place",
     "the inventory has no processor device at socket 0, and none on that socket"},
    {"memory --socket 1 --channel 2 --dimm 0", "--platform cpu.json", "no-device-of-class",
     "the inventory has no memory device"},
    {"pcie --bus 1 --device 2 --function 0 --severity 7", "--platform cpu.json",
     "severity-without-event",
     "nic (01:02.0) is there, but pcie errors of this severity give no event: severity 7"},
    {"other --section-type 81212A96-09ED-4996-9471-8D729C8E69ED", "", "unknown-section",
     "the driver does not know the first section's type, firmware "
     "(81212A96-09ED-4996-9471-8D729C8E69ED), and logs nothing"},
    {"processor", "--status-code 1:0x03071009", "wrong-status-code",
     "the driver leaves this status code to others: the low byte of its type 0x00000001 is not "
     "0x02, and its value 0x03071009 is not 0x03071008"},
    {"processor", "--inventory not-ready", "inventory-not-ready", "the inventory is not ready"},
    {"processor", "--inventory late", "inventory-missing",
     "the inventory was not there when the driver was loaded, which stops at that; a dispatcher "
     "that heeds the driver's dependency expression waits for it"},
    {"memory --socket 1 --channel 2 --dimm 0", "--pool-exhausted --drivers 2", "pool-exhausted",
     "the SMM pool is exhausted"},
    {"processor", "--pool-exhausted", "pool-exhausted",
     "the SMM pool is exhausted, and of a processor error the driver stops at that"},
    {"processor", "--bmc-answer timeout", "transport-failed", "the IPMI transport failed: timeout"},
    {"processor", "--bmc-answer empty", "no-completion-code",
     "the IPMI transport has brought an answer without a completion code, of which the log shows "
     "0xFF"},
    {"processor", "--bmc-answer 0xC1", "bmc-refused",
     "the BMC refused the event: 0xC1, invalid command"},
    {"processor", "--bmc-answer node-busy", "bmc-refused",
     "the BMC refused the event: 0xC0, node busy"},
};

TEST_F (DropReason, IsOneForEachCause)
{
  Write ("cpu.json", R"({"name": "bare", "devices": [{"type": "processor", "id": null, "socket": 1},
      {"type": "pcie", "id": "nic", "bus": 1, "device": 2, "function": 0}],
      "processors": [{"cpuid": "intel-pentium", "apicIds": [0]}]})");
  for (const auto &Row : Rows) {
    SCOPED_TRACE (std::string (Row.Make) + " " + Row.Options);
    Make (Row.Make + std::string (" -o record"));
    const auto Result =
        nlohmann::json::parse (Run ("report --json record " + std::string (Row.Options)).Out);
    const auto &Told = Result.contains ("boot") ? Result["boot"] : Result["records"][0];
    EXPECT_EQ (Told["dropped"], (nlohmann::json{{"code", Row.Code}, {"text", Row.Text}}));
    EXPECT_EQ (Told["fault"].is_null (),
               std::string (Row.Text).find ("stops") == std::string::npos);
    EXPECT_EQ (Told["events"].size (), 0U);
    const bool IsSent = std::string (Row.Options).find ("--bmc") != std::string::npos;
    EXPECT_EQ (Told["lost"].size (), IsSent ? 1U : 0U);
  }
  const std::string Text = Run ("report --quiet record --bmc-answer node-busy").Out;
  EXPECT_EQ (Text.substr (std::min (Text.find ("  lost"), Text.size ())),
             "  lost event: processor, Warning, \"CPU0\"\n"
             "    NetFn 0x32, LUN 0, Cmd 0x2C: 00 01 01 43 50 55 30 00\n"
             "  dropped: the BMC refused the event: 0xC0, node busy "
             "(\"!!! --- IpmiTransportPpi->CommandCompletionCode:0xC0 --- !!!\")\n");
}

} // namespace
