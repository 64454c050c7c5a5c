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

} // namespace
