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

TEST (BlockArena, GivesReturnedMemoryOutAgain)
{
  BlockArena Arena (1024);
  std::vector<void *> Blocks (5);
  for (void *&Block : Blocks) {
    Block = Arena.Take (150);
  }
  EXPECT_EQ (Arena.Take (150), nullptr);
  for (const std::size_t Index : {1U, 3U, 2U, 0U, 4U}) {
    Arena.Return (Blocks[Index], 150);
  }
  EXPECT_NE (Arena.Take (900), nullptr);
}

} // namespace
