/// What the first processor does outside SMM, from its first instruction in 64-bit mode on.

#include "Chipset.h"
#include "ControlChannel.h"
#include "ExceptionFrame.h"
#include "InventoryText.h"
#include "MachineLog.h"
#include "PciScan.h"
#include "Processors.h"
#include "Settings.h"
#include "SmmCall.h"
#include "SmmSetUp.h"

extern "C" {

[[noreturn]] VOID BootMain ();
}

VOID
BootMain ()
{
  FillInterruptTable (0);
  UseInterruptTable ();
  LogPrint ("boot: 64-bit mode\n");
  ReadSettings ();
  ChipsetOpen ();
  StartProcessors ();
  ScanPci ();
  ReadInventory ();
  SetUpSmm ();
  CallSmm (SmmStart);
  CallSmm (SmmReadyToLock);
  ServeControlChannel ();
}
