#include "ControlPort.h"

#include "LocalApic.h"
#include "Machine.h"
#include "MachineLog.h"
#include "MemoryMap.h"
#include "PrintLib.h"
#include "Processors.h"

namespace {

/// The registers of a 16550 at COM2.
constexpr UINT16 DataPort = 0x2F8;
constexpr UINT16 InterruptEnablePort = 0x2F9;
constexpr UINT16 FifoControlPort = 0x2FA;
constexpr UINT16 LineControlPort = 0x2FB;
constexpr UINT16 ModemControlPort = 0x2FC;
constexpr UINT16 LineStatusPort = 0x2FD;

constexpr UINT8 InterruptOnReceive = 0x01;
constexpr UINT8 FifoEnableAndReset = 0x07;
constexpr UINT8 LineOf8Bits = 0x03;
constexpr UINT8 LineDivisorLatch = 0x80;
constexpr UINT8 Divisor115200 = 1;
constexpr UINT8 ModemReadyAndInterrupts = 0x0B;
constexpr UINT8 StatusReceived = 0x01;
constexpr UINT8 StatusSenderIsFree = 0x20;
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
  for (UINTN Pass = 0; (IoRead8 (LineStatusPort) & StatusSenderIsFree) == 0; ++Pass) {
    if (Pass == SenderPassesMax) {
      EndRun (EndMachine, "boot: nobody takes what COM2 sends\n");
    }
    CpuPause ();
  }
  IoWrite8 (DataPort, static_cast<UINT8> (Character));
}

} // namespace

VOID
ControlPortOpen ()
{
  IoWrite8 (LineControlPort, LineDivisorLatch);
  IoWrite8 (DataPort, Divisor115200);
  IoWrite8 (InterruptEnablePort, 0);
  IoWrite8 (LineControlPort, LineOf8Bits);
  IoWrite8 (FifoControlPort, FifoEnableAndReset);
  IoWrite8 (ModemControlPort, ModemReadyAndInterrupts);
  MmioStore32 (IoApicIndex, IoApicFirstEntry + 2 * SerialLine);
  MmioStore32 (IoApicData, VectorSerial);
  IoWrite8 (InterruptEnablePort, InterruptOnReceive);
}

VOID
ControlPortReceive ()
{
  while ((IoRead8 (LineStatusPort) & StatusReceived) != 0) {
    const auto Character = static_cast<CHAR8> (IoRead8 (DataPort));
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
