#include "CmosAccessLib.h"

#include "ModuleTestBench.h"
#include "SimulatedCmos.h"

namespace {

using CmosAccessLib = ModuleTestBench;

TEST_F (CmosAccessLib, ReadsAWordInEitherBankAndKeepsTheNmiMask)
{
  DeviceBus Bus;
  SimulatedCmos Cmos (Bus);
  UseMachine (Bus);
  for (UINTN Index = 0; Index < Cmos.Bytes.size (); ++Index) {
    Cmos.Bytes[Index] = static_cast<UINT8> (~Index);
  }
  for (const bool Masked : {false, true}) {
    for (const auto &[Index, Word] : {std::pair (0x00, 0xFEFF), {0x80, 0x7E7F}, {0xFF, 0xFF00}}) {
      SCOPED_TRACE (Index);
      Cmos.NmiReadbackControl = Masked ? 0xFFFFFFFF : 0;
      Cmos.NmiMasked = Masked;
      EXPECT_EQ (CmosRead16 (static_cast<UINT8> (Index)), Word);
      EXPECT_EQ (ReadNmiMaskBit (), Masked ? 1 : 0);
      EXPECT_EQ (Cmos.NmiMaskChanges, 0U);
    }
  }

  // The mask is made readable for each byte of the low bank alone.
  Cmos.NmiReadbackControl = 0xA5;
  AccessTranscript Transcript;
  Cmos.Transcript = &Transcript;
  EXPECT_EQ (CmosRead16 (0x7F), 0x7F80);
  EXPECT_EQ (
      Transcript,
      (AccessTranscript{"mmio in FDC431FC 000000A5", "mmio out FDC431FC 000200A5", "io in 70 80",
                        "mmio in FDC431FC 000200A5", "mmio out FDC431FC 000000A5", "io out 70 FF",
                        "io in 71 80", "io out 72 80", "io in 73 7F"}));
}

} // namespace
