#include "SimulatedCmos.h"

namespace {

constexpr UINT16 LowIndexPort = 0x70;
constexpr UINT16 LowDataPort = 0x71;
constexpr UINT16 HighIndexPort = 0x72;
constexpr UINT16 HighDataPort = 0x73;

constexpr UINTN NmiReadbackControlAddress = 0xFDC431FC;

constexpr UINT8 NmiMaskBit = 0x80;
constexpr UINT32 ReadbackBit = 0x00020000;

/// What the low index port shows while the chipset does not make it readable.
constexpr UINT8 Floating = 0xFF;

void
CheckWidth (UINTN Width)
{
  if (Width != sizeof (UINT32)) {
    throw MachineFault ("the NMI readback control is 4 bytes wide");
  }
}

} // namespace

SimulatedCmos::SimulatedCmos (DeviceBus &Bus) : BusDevice ("the CMOS RAM")
{
  Bus.Claim (*this, BusSpace::Ports, LowIndexPort, HighDataPort - LowIndexPort + 1);
  Bus.Claim (*this, BusSpace::Memory, NmiReadbackControlAddress, sizeof NmiReadbackControl);
}

UINT8
SimulatedCmos::IoRead8 (UINT16 Port)
{
  UINT8 Value = Floating;
  switch (Port) {
  case LowIndexPort:
    if ((NmiReadbackControl & ReadbackBit) != 0) {
      Value = static_cast<UINT8> (LowIndex | (NmiMasked ? NmiMaskBit : 0));
    }
    break;
  case LowDataPort:
    Value = Bytes[LowIndex];
    break;
  case HighDataPort:
    Value = Bytes[HighIndex];
    break;
  default:
    throw MachineFault ("the high CMOS index cannot be read");
  }
  return Value;
}

void
SimulatedCmos::IoWrite8 (UINT16 Port, UINT8 Value)
{
  switch (Port) {
  case LowIndexPort: {
    const bool Masks = (Value & NmiMaskBit) != 0;
    NmiMaskChanges += Masks != NmiMasked ? 1 : 0;
    NmiMasked = Masks;
    LowIndex = Value & 0x7F;
    break;
  }
  case LowDataPort:
    Bytes[LowIndex] = Value;
    break;
  case HighIndexPort:
    HighIndex = Value | 0x80;
    break;
  default:
    Bytes[HighIndex] = Value;
    break;
  }
}

UINT32
SimulatedCmos::MmioRead (UINTN, UINTN Width)
{
  CheckWidth (Width);
  return NmiReadbackControl;
}

void
SimulatedCmos::MmioWrite (UINTN, UINTN Width, UINT32 Value)
{
  CheckWidth (Width);
  NmiReadbackControl = Value;
}
