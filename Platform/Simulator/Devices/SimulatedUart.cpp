#include "SimulatedUart.h"

#include "Uart16550.h"

namespace {

constexpr UINT16 FirstPort = 0x3F8;

} // namespace

SimulatedUart::SimulatedUart (DeviceBus &Bus) : BusDevice ("the first serial port")
{
  Bus.Claim (*this, BusSpace::Ports, FirstPort, UART_MSR + 1);
}

UINT8
SimulatedUart::IoRead8 (UINT16 Port)
{
  switch (Port - FirstPort) {
  case UART_RBR:
    return IsLatchOpen () ? static_cast<UINT8> (Divisor) : 0;
  case UART_IER:
    return IsLatchOpen () ? static_cast<UINT8> (Divisor >> 8) : InterruptEnable;
  case UART_IIR: {
    const bool On = (FifoControl & UART_FCR_ENABLE) != 0;
    return static_cast<UINT8> (UART_IIR_NOT_PENDING |
                               (On ? FifoFlags | (FifoControl & UART_FCR_EXTENDED) : 0));
  }
  case UART_LCR:
    return LineControl;
  case UART_MCR:
    return ModemControl;
  case UART_LSR:
    return ReadLineStatus ();
  case UART_MSR:
    return ModemStatus;
  default:
    throw MachineFault ("the UART has no such register to read");
  }
}

void
SimulatedUart::IoWrite8 (UINT16 Port, UINT8 Value)
{
  switch (Port - FirstPort) {
  case UART_THR:
    if (IsLatchOpen ()) {
      Divisor = static_cast<UINT16> ((Divisor & 0xFF00) | Value);
    } else {
      Transmit (Value);
    }
    break;
  case UART_IER:
    if (IsLatchOpen ()) {
      Divisor = static_cast<UINT16> ((Divisor & 0x00FF) | Value << 8);
    } else {
      InterruptEnable = Value;
    }
    break;
  case UART_FCR:
    FifoControl = Value;
    break;
  case UART_LCR:
    LineControl = Value;
    break;
  case UART_MCR:
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
  return (LineControl & UART_LCR_DIVISOR_LATCH) != 0;
}

UINTN
SimulatedUart::FifoDepth () const
{
  if ((FifoControl & UART_FCR_ENABLE) == 0) {
    return 1;
  }
  return (FifoControl & UART_FCR_EXTENDED) != 0 ? 64 : 16;
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
  return UART_LSR_IDLE;
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
