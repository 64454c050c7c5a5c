#include "CmosAccessLib.h"

#include "BaseIoLibIntrinsic.h"
#include "Machine.h"

namespace {

/// Each half of the 256 bytes has its own pair of ports.
constexpr UINT16 LowIndexPort = 0x70;
constexpr UINT16 LowDataPort = 0x71;
constexpr UINT16 HighIndexPort = 0x72;
constexpr UINT16 HighDataPort = 0x73;
constexpr UINT8 LowIndexMax = 0x7F;

/// Bit 7 of the low index port masks the machine's non-maskable interrupts.
constexpr UINT8 NmiMaskShift = 7;

/// While this bit of the chipset's register is set, a read of the low index port shows the mask.
constexpr UINTN NmiReadbackControl = 0xFDC431FC;
constexpr UINT32 NmiReadbackEnable = 0x00020000;

UINT8
CmosRead8 (UINT8 Index)
{
  if (Index > LowIndexMax) {
    IoWrite8 (HighIndexPort, Index);
    return IoRead8 (HighDataPort);
  }
  IoWrite8 (LowIndexPort, static_cast<UINT8> (Index | ReadNmiMaskBit () << NmiMaskShift));
  return IoRead8 (LowDataPort);
}

} // namespace

UINT8
ReadNmiMaskBit ()
{
  MmioWrite32 (NmiReadbackControl, MmioRead32 (NmiReadbackControl) | NmiReadbackEnable);
  const UINT8 MaskAndIndex = IoRead8 (LowIndexPort);
  MmioWrite32 (NmiReadbackControl, MmioRead32 (NmiReadbackControl) & ~NmiReadbackEnable);
  return MaskAndIndex >> NmiMaskShift;
}

UINT16
CmosRead16 (UINT8 Index)
{
  const UINT8 Low = CmosRead8 (Index);
  const UINT8 High = CmosRead8 (static_cast<UINT8> (Index + 1));
  return static_cast<UINT16> (High << 8 | Low);
}
