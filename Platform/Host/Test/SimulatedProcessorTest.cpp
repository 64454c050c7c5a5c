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

TEST (SimulatedProcessor, PutsItsIdIntoEveryLeafThatHasOne)
{
  SimulatedProcessor Intel (Server, 0x187, ApicMode::X2Apic);
  EXPECT_EQ (Intel.Cpuid (1, 0).Ebx, 0x87800800U);
  EXPECT_EQ (Intel.Cpuid (0xB, 1).Edx, 0x187U);
  EXPECT_EQ (Intel.Cpuid (0xB, 0x105).Ecx, 5U); // the level number has 8 bits
  EXPECT_EQ (Intel.Cpuid (0x1F, 5).Edx, 0x187U);
  SimulatedProcessor Amd (*FindCpuidSet ("amd-naples"), 0x47, ApicMode::XApic);
  EXPECT_EQ (Amd.Cpuid (0x8000001E, 0).Eax, 0x47U);
  EXPECT_EQ (Amd.Cpuid (0xB, 0).Edx, 0U); // it has no such leaf
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
