#include "BaseSerialPortLib16550.h"

#include "Machine.h"
#include "Pcd.h"

constinit BOOLEAN mSerialPortUsable = TRUE;

namespace {

static_assert (!PcdSerialUseMmio, "the registers are reached as I/O ports only");

/// Registers by number. Some have a second meaning while the divisor latch is open, or on a read.
enum UartRegister : UINT8 {
  TransmitBuffer = 0,
  DivisorLow = 0,
  InterruptEnable = 1,
  DivisorHigh = 1,
  FifoControl = 2,
  InterruptIdentification = 2,
  LineControl = 3,
  ModemControl = 4,
  LineStatus = 5,
  ModemStatus = 6,
};

constexpr UINT8 FifoControlEnable = 0x01;
constexpr UINT8 FifoControlExtended = 0x20;
constexpr UINT8 IdentificationFifoOn = 0x80;
constexpr UINT8 IdentificationFifoUsable = 0x40;
constexpr UINT8 LineControlFormat = 0x3F;
constexpr UINT8 LineControlDivisorLatch = 0x80;
constexpr UINT8 LineStatusIdle = 0x60; // transmit buffer and transmitter empty
constexpr UINT8 ModemStatusClearToSend = 0x10;
constexpr UINT8 ModemStatusDataSetReady = 0x20;

constexpr UINT8 WantedFormat = PcdSerialLineControl & LineControlFormat;
constexpr bool WantedFifo = (PcdSerialFifoControl & FifoControlEnable) != 0;

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
  return (PcdSerialFifoControl & FifoControlExtended) != 0 ? PcdSerialExtendedTxFifoSize : 16;
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
  return (ReadRegister (LineStatus) & LineStatusIdle) == LineStatusIdle;
}

bool
IsReadyToSend ()
{
  if (!PcdSerialUseHardwareFlowControl) {
    return true;
  }
  constexpr UINT8 BothLines = ModemStatusClearToSend | ModemStatusDataSetReady;
  const UINT8 Lines = ReadRegister (ModemStatus) & BothLines;
  return PcdSerialDetectCable ? Lines == BothLines : Lines != ModemStatusDataSetReady;
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
  WriteRegister (LineControl, ReadRegister (LineControl) | LineControlDivisorLatch);
  const UINT8 High = ReadRegister (DivisorHigh);
  const UINT8 Low = ReadRegister (DivisorLow);
  WriteRegister (LineControl,
                 ReadRegister (LineControl) & static_cast<UINT8> (~LineControlDivisorLatch));
  return static_cast<UINT16> (High << 8 | Low);
}

/// Whether the FIFOs are as wanted. FIFOs that are on but unusable are a fault of early 16550
/// parts.
bool
HasWantedFifo ()
{
  const UINT8 Identification = ReadRegister (InterruptIdentification);
  if (!WantedFifo) {
    return (Identification & IdentificationFifoOn) == 0;
  }
  constexpr UINT8 OnAndUsable = IdentificationFifoOn | IdentificationFifoUsable;
  return (Identification & OnAndUsable) == OnAndUsable;
}

bool
IsSetUp ()
{
  return (ReadRegister (LineControl) & LineControlFormat) == WantedFormat &&
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

  WriteRegister (LineControl, LineControlDivisorLatch);
  WriteRegister (DivisorHigh, static_cast<UINT8> (WantedDivisor >> 8));
  WriteRegister (DivisorLow, static_cast<UINT8> (WantedDivisor));
  WriteRegister (LineControl, WantedFormat);
  // Turning the FIFOs off first empties them.
  WriteRegister (FifoControl, 0);
  WriteRegister (FifoControl, PcdSerialFifoControl & (FifoControlEnable | FifoControlExtended));
  WriteRegister (InterruptEnable, 0);
  WriteRegister (ModemControl, 0);
  return RETURN_SUCCESS;
}

UINTN
SerialPortWrite (const UINT8 *Buffer, UINTN NumberOfBytes)
{
  if (Buffer == nullptr || PcdSerialRegisterBase == 0) {
    return 0;
  }
  if (NumberOfBytes == 0) {
    (void)(WaitUntil (IsTransmitterIdle) && WaitUntil (IsReadyToSend));
    return 0;
  }

  for (UINTN Sent = 0; Sent < NumberOfBytes; ++Sent) {
    // An idle transmitter's FIFO is empty and takes a whole burst.
    if (Sent % BurstSize () == 0 && !WaitUntil (IsTransmitterIdle)) {
      return 0;
    }
    if (!WaitUntil (IsReadyToSend)) {
      return 0;
    }
    WriteRegister (TransmitBuffer, Buffer[Sent]);
  }
  return NumberOfBytes;
}
