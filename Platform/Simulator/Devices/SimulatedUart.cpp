#include "SimulatedUart.h"

#include "HostMachine.h"

namespace {

constexpr UINT16 FirstPort = 0x3F8;
constexpr UINT16 LastPort = 0x3FE;

constexpr UINT8 NoInterruptPending = 0x01;
constexpr UINT8 IdleLineStatus = 0x60;

} // namespace

bool
SimulatedUart::OwnsPort (UINT16 Port)
{
  return Port >= FirstPort && Port <= LastPort;
}

UINT8
SimulatedUart::IoRead8 (UINT16 Port)
{
  const UINT8 Value = ReadRegister (static_cast<UINT16> (Port - FirstPort));
  RecordAccess (Transcript, "io in", Port, 1, Value);
  return Value;
}

UINT8
SimulatedUart::ReadRegister (UINT16 Register)
{
  switch (Register) {
  case 0:
    return IsLatchOpen () ? static_cast<UINT8> (Divisor) : 0;
  case 1:
    return IsLatchOpen () ? static_cast<UINT8> (Divisor >> 8) : InterruptEnable;
  case 2: {
    const bool On = (FifoControl & 0x01) != 0;
    return static_cast<UINT8> (NoInterruptPending | (On ? FifoFlags | (FifoControl & 0x20) : 0));
  }
  case 3:
    return LineControl;
  case 4:
    return ModemControl;
  case 5:
    return ReadLineStatus ();
  case 6:
    return ModemStatus;
  default:
    throw MachineFault ("the UART has no such register to read");
  }
}

void
SimulatedUart::IoWrite8 (UINT16 Port, UINT8 Value)
{
  RecordAccess (Transcript, "io out", Port, 1, Value);
  switch (Port - FirstPort) {
  case 0:
    if (IsLatchOpen ()) {
      Divisor = static_cast<UINT16> ((Divisor & 0xFF00) | Value);
    } else {
      Transmit (Value);
    }
    break;
  case 1:
    if (IsLatchOpen ()) {
      Divisor = static_cast<UINT16> ((Divisor & 0x00FF) | Value << 8);
    } else {
      InterruptEnable = Value;
    }
    break;
  case 2:
    FifoControl = Value;
    break;
  case 3:
    LineControl = Value;
    break;
  case 4:
    ModemControl = Value;
    break;
  default:
    throw MachineFault ("the UART has no such register to write");
  }
}

void
SimulatedUart::StayBusyForReads (UINTN Reads, UINTN AfterBytes)
{
  BusyReads = Reads;
  BusyFromByte = Sent.size () + AfterBytes;
}

bool
SimulatedUart::IsLatchOpen () const
{
  return (LineControl & 0x80) != 0;
}

UINTN
SimulatedUart::FifoDepth () const
{
  if ((FifoControl & 0x01) == 0) {
    return 1;
  }
  return (FifoControl & 0x20) != 0 ? 64 : 16;
}

UINT8
SimulatedUart::ReadLineStatus ()
{
  if (BusyReads != 0 && Sent.size () >= BusyFromByte) {
    --BusyReads;
    BytesInFifo = FifoDepth ();
    return BusyLineStatus;
  }
  BytesInFifo = 0;
  return IdleLineStatus;
}

void
SimulatedUart::Transmit (UINT8 Byte)
{
  if (BytesInFifo >= FifoDepth ()) {
    throw MachineFault ("a byte is lost: the transmit FIFO is full");
  }
  if (BytesInFifo++ == 0) {
    Bursts.push_back (0);
  }
  ++Bursts.back ();
  Sent += static_cast<char> (Byte);
}
