#include "TestPlatform.h"
#include "TestRecords.h"

#include "AddressSanitizer.h"
#include "Record/Inventory.h"
#include "SmmServices.h"

namespace {

TEST (SimulatedPlatform, CatchesAccessesOutsideRecordsAndBlocks)
{
  LoadedPlatform Platform (TwoSockets ({ProcessorDevice ("cpu", 0)}));
  std::vector<UINT8> Record = ProcessorRecord (1);
  Record.resize (offsetof (ErrorRecord, Section.SectionType) + sizeof (EFI_GUID) - 1);
  EXPECT_EQ (Platform.Report (Record, {.Placement = RecordPlacement::ZeroFilledPage}).Status,
             EFI_SUCCESS);
  if constexpr (HasAddressSanitizer) {
    EXPECT_DEATH (Platform.Report (Record), "READ of size");
    void *Block = nullptr;
    gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 150, &Block);
    EXPECT_DEATH (static_cast<volatile UINT8 *> (Block)[150] = 0, "use-after-poison");
  }
}

TEST (DeviceBus, RefusesAClaimThatAnotherDeviceHas)
{
  DeviceBus Bus;
  SimulatedUart Uart (Bus);
  BusDevice Other ("a mouse");
  try {
    Bus.Claim (Other, BusSpace::Ports, 0x3F0, 9);
    ADD_FAILURE () << "one port is the UART's";
  } catch (const std::invalid_argument &Refusal) {
    EXPECT_STREQ (Refusal.what (), "a mouse and the first serial port both claim port 0x3F8");
  }
  Bus.Claim (Other, BusSpace::Ports, 0x3F0, 8);
  Bus.Claim (Other, BusSpace::Memory, 0x3F8, 8);
  EXPECT_THROW (Bus.IoRead8 (0x3FF), MachineFault);
}

} // namespace
