#include "QsmsimTest.h"

namespace {

/// A platform of two sockets with some of the devices, of which the inventory says odd things.
constexpr const char *ODD = R"({"name": "odd",
  "processors": [{"cpuid": "intel-sapphire-rapids", "x2apic": true, "apicIds": [0, 128]}],
  "devices": [{"type": "processor", "id": "CPU0", "socket": 0},
              {"type": "memory", "id": "A", "socket": 1, "channel": 4, "dimm": 0},
              {"type": "memory", "id": "B", "socket": 1, "channel": 4, "dimm": 0},
              {"type": "pcie", "id": null, "bus": "0xC9", "device": 2, "function": 0},
              {"type": "pcie", "id": "", "bus": 5, "device": 0, "function": 1},
              {"type": "pcie", "id": "NIC", "bus": 1, "device": 0, "function": 0},
              {"type": "pcie", "id": "LONG", "bus": "0x60", "device": 3, "function": 1}]})";

class FieldRecord : public QsmsimTest {};

TEST_F (FieldRecord, IsToldAsItIsAndAsTheDriverReadsIt)
{
  std::string Platform = ODD;
  Write ("odd.json", Platform.replace (Platform.find ("LONG"), 4, std::string (150, 'L')));
  std::filesystem::copy (QSM_FIELD_RECORDS, ".");
  for (const auto &Entry : std::filesystem::directory_iterator (QSM_FIELD_RECORDS)) {
    const std::string File = Entry.path ().filename ();
    if (Entry.path ().extension () == ".cper") {
      const std::string Options = " --quiet --platform odd.json " + File;
      ExpectText (QSM_EXPECTED_TEXTS "/field/" + File + ".txt",
                  Run ("report" + Options).Out + Run ("report --json" + Options).Out);
    }
  }
}

} // namespace
