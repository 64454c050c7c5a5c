/// Machine-check banks, filled as hardware would fill them.
#pragma once

#include "Base.h"

/// What a bank's registers are to hold.
struct MachineCheck {
  UINT64 Status, Address, Misc;
};

inline constexpr UINTN MachineCheckChoices = 2;

/// Machine checks in a row: Count of them in one bank, which holds Checks in turn.
struct MachineCheckSeries {
  UINT64 Count;
  UINT64 Bank;
  UINTN CheckCount; ///< 1 to MachineCheckChoices.
  MachineCheck Checks[MachineCheckChoices];
};

extern "C" {

/// A processor's job: fills its own bank and raises an SMI, Count times. Argument is the series.
VOID RunMachineChecks (UINTN Processor, VOID *Argument);
}
