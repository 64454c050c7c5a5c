#include "SourceTables.h"

#include "FoundRecord.h"
#include "HardwareErrors.h"
#include "ProcessorInstructions.h"

namespace {

constinit PcieErrorSource mPcie[PciFunctionMax] = {};
constinit DimmRange mDimms[InventoryEntryMax] = {};
constinit HardwareErrorSources mSources = {};

} // namespace

VOID
ErrorSourcesStart ()
{
  mSources = {
      .Pcie = mPcie, .PcieCount = 0, .Dimms = mDimms, .DimmCount = 0, .WriteMsr = WriteMsr64};
  for (UINTN Index = 0; Index < gFound.PciFunctionCount; ++Index) {
    PcieErrorSource &Next = mPcie[mSources.PcieCount];
    Next = {gFound.PciFunctions[Index], PCI_WINDOW_BASE, false, 0, 0};
    mSources.PcieCount += FindPcieErrorRegisters (&Next) ? 1 : 0;
  }
  for (UINTN Index = 0; Index < gFound.InventoryEntryCount; ++Index) {
    const InventoryEntry &Each = gFound.Inventory[Index];
    if (Each.Type == ErrorClassMemory && Each.Size != 0) {
      mDimms[mSources.DimmCount++] = {.Base = Each.Base,
                                      .Size = Each.Size,
                                      .Socket = static_cast<UINT8> (Each.Socket),
                                      .Channel = Each.Channel,
                                      .Dimm = Each.Dimm};
    }
  }
}

VOID
ServeErrorSources ()
{
  (void)ReportPcieErrors (&mSources);
  (void)ReportMachineChecks (&mSources);
}
