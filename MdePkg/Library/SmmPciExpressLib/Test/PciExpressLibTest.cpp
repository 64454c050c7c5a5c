#include "SmmPciExpressLib.h"

#include "FirmwareTestBench.h"
#include "Protocol/PcdProtocol.h"

namespace {

constexpr UINT64 AllOnes = 0xFFFFFFFFFFFFFFFF;

class PciExpress : public FirmwareTestBench {
public:
  PciExpress ()
  {
    Machine.Pci.Clear ();
    Machine.Pci.Transcript = &Accesses;
  }

  /// All operations at one address, where none may reach the bus.
  static void
  ExpectNothingAt (UINT64 Address)
  {
    SCOPED_TRACE (Address);
    EXPECT_EQ (PciExpressRead8 (Address), 0xFF);
    EXPECT_EQ (PciExpressRead16 (Address), 0xFFFF);
    EXPECT_EQ (PciExpressRead32 (Address), 0xFFFFFFFF);
    EXPECT_EQ (PciExpressWrite32 (Address, 1), 0xFFFFFFFF);
    EXPECT_EQ (PciExpressOr16 (Address, 1), 0xFFFF);
    EXPECT_EQ (PciExpressAnd16 (Address, 1), 0xFFFF);
  }

  AccessTranscript Accesses;
};

TEST_F (PciExpress, HasNoWindowBeforeTheConstructorAndWithoutThePlatformsSettings)
{
  ExpectNothingAt (0);
  EXPECT_EQ (gFaultPlan.Calls[ServiceBootLocateProtocol], 0U) << "no search either";
  ProtocolRemove (ProtocolBoot, &gPcdProtocolGuid);
  EXPECT_EQ (SmmPciExpressLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  ExpectNothingAt (0);
  EXPECT_EQ (PciExpressWindowAddress (0x10000000), AllOnes);
  EXPECT_TRUE (Accesses.empty ());
}

TEST_F (PciExpress, ReachesRegistersThroughTheWindow)
{
  EXPECT_EQ (SmmPciExpressLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (SmmPciExpressLibConstructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_EQ (gFaultPlan.Calls[ServiceBootLocateProtocol], 1U);
  ExpectNothingAt (0x10000000);
  ExpectNothingAt (AllOnes);
  EXPECT_TRUE (Accesses.empty ());

  InstallDebugService ();
  Machine.Pci.AddFunction ({.Segment = 0, .Bus = 0x12, .Device = 3, .Function = 4}, 0x00);
  constexpr UINT64 Function = 0x0121C000;
  EXPECT_EQ (PciExpressRead8 (Function + 0x0E), 0x00);
  EXPECT_EQ (PciExpressWrite32 (Function + 0x40, 0x8001C3F0), 0x8001C3F0);
  EXPECT_EQ (PciExpressOr16 (Function + 0x40, 0x0F01), 0xCFF1);
  EXPECT_EQ (PciExpressAnd16 (Function + 0x42, 0x7FFF), 0x0001);
  EXPECT_EQ (PciExpressRead32 (Function + 0x40), 0x0001CFF1U);
  EXPECT_EQ (PciExpressRead16 (0xFFFFFFE), 0xFFFF) << "the last one, on the bus";
  const AccessTranscript Expected = {
      "mmio in 8121C00E 00",       "mmio out 8121C040 8001C3F0", "mmio in 8121C040 C3F0",
      "mmio out 8121C040 CFF1",    "mmio in 8121C042 8001",      "mmio out 8121C042 0001",
      "mmio in 8121C040 0001CFF1", "mmio in 8FFFFFFE FFFF",
  };
  EXPECT_EQ (Accesses, Expected);

  EXPECT_EQ (StoppedAt ([] { (void)PciExpressWindowAddress (0x10000000); }),
             "MdePkg/Library/SmmPciExpressLib/PciExpressLib:132 ((Address) & ~0xfffffff) == 0");
}

} // namespace
