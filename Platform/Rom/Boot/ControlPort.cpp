#include "ControlPort.h"

#include "LocalApic.h"
#include "Machine.h"
#include "MachineLog.h"
#include "MemoryMap.h"
#include "PrintLib.h"
#include "Processors.h"
#include "Uart16550.h"

namespace {

/// COM2.
constexpr UINT16 FirstPort = 0x2F8;

constexpr UINT8 Divisor115200 = 1;
constexpr UINT8 ModemReadyAndInterrupts = 0x0B;
constexpr UINTN SenderPassesMax = 10000000;

/// The I/O APIC's entry of the port's interrupt, to the first processor.
constexpr UINT8 SerialLine = 3;
constexpr UINTN IoApicIndex = IO_APIC_BASE;
constexpr UINTN IoApicData = IO_APIC_BASE + 0x10;
constexpr UINT32 IoApicFirstEntry = 0x10;

/// What has been received and not read, as a ring.
constexpr UINTN RingSize = 1024;
constinit CHAR8 mRing[RingSize] = {};
constinit UINTN mReceived = 0;
constinit UINTN mRead = 0;

/// Whether there is something in the ring.
constinit volatile bool mPending = false;

UINT8
Read (UartRegister Register)
{
  return IoRead8 (static_cast<UINT16> (FirstPort + Register));
}

VOID
Write (UartRegister Register, UINT8 Value)
{
  IoWrite8 (static_cast<UINT16> (FirstPort + Register), Value);
}

CHAR8
ReadCharacter ()
{
  while (__atomic_load_n (&mReceived, __ATOMIC_ACQUIRE) == mRead) {
    SleepUnless (&mPending);
    mPending = false;
  }
  return mRing[mRead++ % RingSize];
}

VOID
SendCharacter (CHAR8 Character)
{
  for (UINTN Pass = 0; (Read (UART_LSR) & UART_LSR_SENDER_FREE) == 0; ++Pass) {
    if (Pass == SenderPassesMax) {
      EndRun (EndMachine, "boot: nobody takes what COM2 sends\n");
    }
    CpuPause ();
  }
  Write (UART_THR, static_cast<UINT8> (Character));
}

} // namespace

VOID
ControlPortOpen ()
{
  Write (UART_LCR, UART_LCR_DIVISOR_LATCH);
  Write (UART_DLL, Divisor115200);
  Write (UART_DLM, 0);
  Write (UART_LCR, UART_LCR_8_BITS);
  Write (UART_FCR, UART_FCR_ENABLE | UART_FCR_RESET);
  Write (UART_MCR, ModemReadyAndInterrupts);
  MmioStore32 (IoApicIndex, IoApicFirstEntry + 2 * SerialLine);
  MmioStore32 (IoApicData, VectorSerial);
  Write (UART_IER, UART_IER_RECEIVED);
}

VOID
ControlPortReceive ()
{
  while ((Read (UART_LSR) & UART_LSR_RECEIVED) != 0) {
    const auto Character = static_cast<CHAR8> (Read (UART_RBR));
    if (mReceived - mRead < RingSize) {
      mRing[mReceived % RingSize] = Character;
      __atomic_store_n (&mReceived, mReceived + 1, __ATOMIC_RELEASE);
    }
  }
  mPending = true;
}

bool
ControlPortReadLine (CHAR8 (&Line)[ControlLineMax])
{
  UINTN Length = 0;
  for (;;) {
    const CHAR8 Character = ReadCharacter ();
    if (Character == '\n') {
      break;
    }
    if (Length < ControlLineMax - 1) {
      Line[Length] = Character;
    }
    ++Length;
  }
  Line[Length < ControlLineMax ? Length : 0] = '\0';
  return Length < ControlLineMax;
}

VOID EFIAPI
ControlPortPrint (const CHAR8 *Format, ...)
{
  CHAR8 Line[ControlLineMax];
  VA_LIST Args;
  VA_START (Args, Format);
  BasePrintLibSPrintMarker (Line, sizeof Line, 0, Format, Args);
  VA_END (Args);
  for (const CHAR8 *Next = Line; *Next != '\0'; ++Next) {
    SendCharacter (*Next);
  }
  SendCharacter ('\n');
}
