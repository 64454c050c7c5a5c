#include "BaseSerialPortLib16550.h"

#include "Machine.h"
#include "Pcd.h"
#include "Uart16550.h"

constinit BOOLEAN mSerialPortUsable = TRUE;

namespace {

static_assert (!PcdSerialUseMmio, "the registers are reached as I/O ports only");

constexpr UINT8 WantedFormat = PcdSerialLineControl & UART_LCR_FORMAT;
constexpr bool WantedFifo = (PcdSerialFifoControl & UART_FCR_ENABLE) != 0;

/// A wait ends after this many reads of its register.
constexpr UINT32 PollCountMax = 65536;

/// Clock rate by 16 times the baud rate, rounded to the nearest.
consteval UINT32
BaudDivisor ()
{
  constexpr UINT32 ClocksPerBit = PcdSerialBaudRate * 16;
  constexpr UINT32 RoundUp = PcdSerialClockRate % ClocksPerBit >= ClocksPerBit / 2 ? 1 : 0;
  return PcdSerialClockRate / ClocksPerBit + RoundUp;
}

static_assert (BaudDivisor () >= 1 && BaudDivisor () <= 0xFFFF, "the divisor has 16 bits");
constexpr UINT16 WantedDivisor = BaudDivisor ();

/// Bytes that an idle transmitter takes at once.
consteval UINTN
BurstSize ()
{
  if (!WantedFifo) {
    return 1;
  }
  return (PcdSerialFifoControl & UART_FCR_EXTENDED) != 0 ? PcdSerialExtendedTxFifoSize : 16;
}

constexpr UINT16
PortOf (UartRegister Register)
{
  return static_cast<UINT16> (PcdSerialRegisterBase + PcdSerialRegisterStride * Register);
}

UINT8
ReadRegister (UartRegister Register)
{
  return IoRead8 (PortOf (Register));
}

VOID
WriteRegister (UartRegister Register, UINT8 Value)
{
  IoWrite8 (PortOf (Register), Value);
}

bool
IsTransmitterIdle ()
{
  return (ReadRegister (UART_LSR) & UART_LSR_IDLE) == UART_LSR_IDLE;
}

bool
IsReadyToSend ()
{
  if (!PcdSerialUseHardwareFlowControl) {
    return true;
  }
  constexpr UINT8 BothLines = UART_MSR_CLEAR_TO_SEND | UART_MSR_DATA_SET_READY;
  const UINT8 Lines = ReadRegister (UART_MSR) & BothLines;
  return PcdSerialDetectCable ? Lines == BothLines : Lines != UART_MSR_DATA_SET_READY;
}

/// Polls until Holds answers true. Returns false when it did not do so in time.
bool
WaitUntil (bool (*Holds) ())
{
  for (UINT32 Poll = 0; Poll < PollCountMax; ++Poll) {
    if (Holds ()) {
      return true;
    }
  }
  return false;
}

/// The divisor that the port runs with. The latch is closed afterwards.
UINT16
ReadDivisor ()
{
  WriteRegister (UART_LCR, ReadRegister (UART_LCR) | UART_LCR_DIVISOR_LATCH);
  const UINT8 High = ReadRegister (UART_DLM);
  const UINT8 Low = ReadRegister (UART_DLL);
  WriteRegister (UART_LCR, ReadRegister (UART_LCR) & static_cast<UINT8> (~UART_LCR_DIVISOR_LATCH));
  return static_cast<UINT16> (High << 8 | Low);
}

/// Whether the FIFOs are as wanted. FIFOs that are on but unusable are a fault of early 16550
/// parts.
bool
HasWantedFifo ()
{
  const UINT8 Identification = ReadRegister (UART_IIR);
  if (!WantedFifo) {
    return (Identification & UART_IIR_FIFO_ON) == 0;
  }
  constexpr UINT8 OnAndUsable = UART_IIR_FIFO_ON | UART_IIR_FIFO_USABLE;
  return (Identification & OnAndUsable) == OnAndUsable;
}

bool
IsSetUp ()
{
  return (ReadRegister (UART_LCR) & UART_LCR_FORMAT) == WantedFormat &&
         ReadDivisor () == WantedDivisor && HasWantedFifo ();
}

} // namespace

RETURN_STATUS
SerialPortInitialize ()
{
  if (PcdSerialRegisterBase == 0) {
    return RETURN_DEVICE_ERROR;
  }
  if (IsSetUp ()) {
    return RETURN_SUCCESS;
  }
  if (!WaitUntil (IsTransmitterIdle)) {
    __atomic_store_n (&mSerialPortUsable, FALSE, __ATOMIC_RELAXED);
    return RETURN_DEVICE_ERROR;
  }

  WriteRegister (UART_LCR, UART_LCR_DIVISOR_LATCH);
  WriteRegister (UART_DLM, static_cast<UINT8> (WantedDivisor >> 8));
  WriteRegister (UART_DLL, static_cast<UINT8> (WantedDivisor));
  WriteRegister (UART_LCR, WantedFormat);
  // Turning the FIFOs off first empties them.
  WriteRegister (UART_FCR, 0);
  WriteRegister (UART_FCR, PcdSerialFifoControl & (UART_FCR_ENABLE | UART_FCR_EXTENDED));
  WriteRegister (UART_IER, 0);
  WriteRegister (UART_MCR, 0);
  return RETURN_SUCCESS;
}

UINTN
SerialPortWrite (const UINT8 *Buffer, UINTN NumberOfBytes)
{
  if (Buffer == nullptr || PcdSerialRegisterBase == 0) {
    return 0;
  }
  if (NumberOfBytes == 0) {
    if (WaitUntil (IsTransmitterIdle)) {
      (void)WaitUntil (IsReadyToSend);
    }
    return 0;
  }

  UINTN Sent = 0;
  while (Sent < NumberOfBytes) {
    if (!WaitUntil (IsTransmitterIdle)) {
      return 0;
    }
    // An idle transmitter's FIFO is empty and takes a whole burst.
    for (UINTN Room = BurstSize (); Room > 0 && Sent < NumberOfBytes; --Room) {
      if (!WaitUntil (IsReadyToSend)) {
        return 0;
      }
      WriteRegister (UART_THR, Buffer[Sent]);
      ++Sent;
    }
  }
  return NumberOfBytes;
}
