#include "SimulatedCmos.h"

#include "HostMachine.h"

namespace {

constexpr UINT16 LowIndexPort = 0x70;
constexpr UINT16 LowDataPort = 0x71;
constexpr UINT16 HighIndexPort = 0x72;
constexpr UINT16 HighDataPort = 0x73;

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

bool
SimulatedCmos::OwnsPort (UINT16 Port)
{
  return Port >= LowIndexPort && Port <= HighDataPort;
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
  RecordAccess (Transcript, "io in", Port, 1, Value);
  return Value;
}

void
SimulatedCmos::IoWrite8 (UINT16 Port, UINT8 Value)
{
  RecordAccess (Transcript, "io out", Port, 1, Value);
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

bool
SimulatedCmos::OwnsAddress (UINTN Address)
{
  return Address == NmiReadbackControlAddress;
}

UINT32
SimulatedCmos::MmioRead (UINTN Address, UINTN Width)
{
  CheckWidth (Width);
  RecordAccess (Transcript, "mmio in", Address, Width, NmiReadbackControl);
  return NmiReadbackControl;
}

void
SimulatedCmos::MmioWrite (UINTN Address, UINTN Width, UINT32 Value)
{
  CheckWidth (Width);
  RecordAccess (Transcript, "mmio out", Address, Width, Value);
  NmiReadbackControl = Value;
}
