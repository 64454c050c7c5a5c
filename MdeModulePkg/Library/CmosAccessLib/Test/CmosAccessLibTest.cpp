#include "CmosAccessLib.h"

#include "DeviceMachine.h"
#include "ModuleTestBench.h"

namespace {

class CmosAccessLib : public ModuleTestBench {
public:
  CmosAccessLib ()
  {
    UseMachine (Machine);
  }

  DeviceMachine Machine;
  SimulatedCmos &Cmos = Machine.Cmos;
};

TEST_F (CmosAccessLib, ReadsAWordInEitherBankAndKeepsTheNmiMask)
{
  for (UINTN Index = 0; Index < Cmos.Bytes.size (); ++Index) {
    Cmos.Bytes[Index] = static_cast<UINT8> (~Index);
  }
  const struct {
    UINT8 Index;
    UINT16 Word;
  } Rows[] = {{0x00, 0xFEFF}, {0x4C, 0xB2B3}, {0x7F, 0x7F80}, {0x80, 0x7E7F}, {0xFF, 0xFF00}};
  for (const UINT32 Control : {0x00000000U, 0xFFFDFFFFU, 0xFFFFFFFFU}) {
    for (const bool Masked : {false, true}) {
      for (const auto &Row : Rows) {
        SCOPED_TRACE (testing::Message () << Control << " " << Masked << " " << Row.Index);
        Cmos.NmiReadbackControl = Control;
        Cmos.NmiMasked = Masked;
        EXPECT_EQ (CmosRead16 (Row.Index), Row.Word);
        EXPECT_EQ (Cmos.NmiMaskChanges, 0U);
        EXPECT_EQ (ReadNmiMaskBit (), Masked ? 1 : 0);
        EXPECT_EQ (Cmos.NmiReadbackControl, Control & 0xFFFDFFFF);
      }
    }
  }
}

TEST_F (CmosAccessLib, MakesTheMaskReadableForEachByteOfTheLowBankAlone)
{
  Cmos.NmiReadbackControl = 0xA5;
  Cmos.NmiMasked = true;
  EXPECT_EQ (CmosRead16 (0x7F), 0);
  const AccessTranscript Expected = {"mmio in FDC431FC 000000A5",
                                     "mmio out FDC431FC 000200A5",
                                     "io in 70 80",
                                     "mmio in FDC431FC 000200A5",
                                     "mmio out FDC431FC 000000A5",
                                     "io out 70 FF",
                                     "io in 71 00",
                                     "io out 72 80",
                                     "io in 73 00"};
  EXPECT_EQ (Machine.Transcript, Expected);
}

} // namespace
