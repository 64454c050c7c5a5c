#include <gtest/gtest.h>

#include "SimulatedProcessor.h"

namespace {

const CpuidSet &Server = *FindCpuidSet ("intel-sapphire-rapids");

TEST (SimulatedProcessor, FaultsOnWhatItDoesNotHave)
{
  SimulatedProcessor XApic (Server, 0x180, ApicMode::XApic);
  UINT64 Result = 0;
  EXPECT_THROW (XApic.ReadMsr (0x802), MachineFault);
  EXPECT_THROW (XApic.TdVmCall (12, {}, Result), MachineFault);
  EXPECT_THROW (XApic.MmioRead (0xFEE00020, 2), MachineFault);
  EXPECT_THROW (XApic.MmioRead (0xFEE01000, 4), MachineFault);
  EXPECT_EQ (XApic.MmioRead (0xFEE00020, 4), 0x80000000U);

  SimulatedProcessor X2Apic (Server, 0x180, ApicMode::X2Apic);
  EXPECT_THROW (X2Apic.MmioRead (0xFEE00020, 4), MachineFault);

  SimulatedProcessor Guest (*FindCpuidSet ("intel-tdx-guest"), 1, ApicMode::X2Apic);
  EXPECT_THROW (Guest.ReadMsr (0x1B), MachineFault);
  EXPECT_THROW (Guest.TdVmCall (31, {0x100000802}, Result), MachineFault);
}

TEST (CpuidSets, ListsEveryLeafOfEverySetOnce)
{
  for (const CpuidSet &Set : AllCpuidSets ()) {
    SCOPED_TRACE (Set.Name);
    const SimulatedProcessor Processor (Set, 0, ApicMode::XApic);
    EXPECT_EQ (Processor.CpuidAnswers.size (), Set.Rows.size ());
  }
}

} // namespace
