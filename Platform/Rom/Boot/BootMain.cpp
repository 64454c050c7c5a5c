/// What the first processor does outside SMM, from its first instruction in 64-bit mode on.

#include "Chipset.h"
#include "Cmos.h"
#include "ControlChannel.h"
#include "ExceptionFrame.h"
#include "HandOver.h"
#include "InventoryText.h"
#include "MachineLog.h"
#include "PciErrors.h"
#include "PciScan.h"
#include "Processors.h"
#include "Settings.h"
#include "SmmCall.h"
#include "SmmSetUp.h"

extern "C" {

[[noreturn]] VOID BootMain ();
}

namespace {

/// All lies at fixed places.
VOID
CheckRamSize ()
{
  constexpr UINT64 First = 0x1000000;
  constexpr UINT64 Unit = 0x10000;
  const UINT64 Units = UINT64{ReadCmos (CmosMemoryHigh)} << 8 | ReadCmos (CmosMemoryLow);
  if (First + Units * Unit != RAM_SIZE) {
    EndRun (EndMachine, "boot: the machine has to have %d MiB of RAM\n", RAM_SIZE / 0x100000);
  }
}

} // namespace

VOID
BootMain ()
{
  FillInterruptTable (0);
  UseInterruptTable ();
  LogPrint ("boot: 64-bit mode\n");
  CheckRamSize ();
  __builtin_memset (&HandOverRecord (), 0, sizeof (HandOverArea));
  ReadSettings ();
  ChipsetOpen ();
  StartProcessors ();
  ScanPci ();
  ReadInventory ();
  SetUpSmm ();
  RoutePciErrors ();
  CallSmm (SmmStart);
  CallSmm (SmmReadyToLock);
  ServeControlChannel ();
}
