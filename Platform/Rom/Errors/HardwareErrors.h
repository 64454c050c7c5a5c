/// The machine's error sources: what they hold is reported as error records (CPER) and cleared.
///
/// Every error goes to the listeners of the status-code router as the machine's own firmware would
/// send it: an error code of HARDWARE_ERROR_STATUS_CODE with a record of one section. The source is
/// cleared even if no listener takes it up, or it would be found for ever.
#pragma once

#include "PciPlace.h"

/// One PCI Express function to look at. A root port must be among the sources for its own errors,
/// and so that what it has noted of the devices behind it is cleared.
///
/// FindPcieErrorRegisters fills in what stands behind WindowBase.
struct PcieErrorSource : PciPlace {
  UINT64 WindowBase;     ///< Where the configuration space of its segment is mapped.
  bool HasRootRegisters; ///< As root ports and event collectors have.
  UINT16 Express;        ///< Offsets of the two capabilities.
  UINT16 Aer;
};

/// Addresses that lie on one DIMM. Rows do not overlap.
struct DimmRange {
  UINT64 Base;
  UINT64 Size;   ///< In bytes.
  UINT8 Socket;  ///< Of the memory controller.
  UINT8 Channel; ///< On the socket.
  UINT8 Dimm;    ///< On the channel.
};

/// The tables are the caller's, and stay as they are while somebody reports.
struct HardwareErrorSources {
  const PcieErrorSource *Pcie;
  UINTN PcieCount;
  const DimmRange *Dimms;
  UINTN DimmCount;

  /// WRMSR on the executing processor.
  VOID (*WriteMsr) (UINT32 Index, UINT64 Value);
};

extern "C" {

/// Looks where the registers of a function lie. Returns false for one that is absent, has no
/// Advanced Error Reporting or has lists that lead astray: it is no source.
bool FindPcieErrorRegisters (PcieErrorSource *Source);

/// Reports what the functions hold in their Advanced Error Reporting capability and do not mask:
/// one record for all uncorrectable errors of a function, fatal if any of them is, and one for all
/// corrected ones. Root ports and event collectors come first, and their root error status is
/// cleared ahead of all else: whatever fails from then on raises its message anew. A function that
/// does not answer is passed over. Masked errors are neither reported nor cleared on their own.
///
/// All processors see the same functions, and any number of them may be here: what a function holds
/// is read and cleared by one of them, which then reports it while the others go on.
/// Returns the number of records that a listener took up.
UINTN ReportPcieErrors (const HardwareErrorSources *Sources);

/// Reports what the machine-check banks of the executing processor hold, one record a bank.
///
/// An error of a memory controller becomes a memory error: its socket is that of the executing
/// processor, its channel that of the error code. The DIMM is the row of Dimms for that socket and
/// channel in which the error's address lies; where the code leaves the channel open the row gives
/// it too. What is not known so is all ones and not declared valid, so that nobody takes another
/// DIMM for the one that failed. Every other error becomes a generic processor error.
///
/// Severity: fatal if the processor's context is corrupt, recoverable for any other uncorrected
/// error and for a deferred one, else corrected.
///
/// Each processor reads banks of its own. Where processors share banks, the caller sees to it that
/// one of them at a time is here. IA32_MCG_STATUS is left to whoever handles the exception.
/// Returns the number of records that a listener took up. (Intel SDM, volume 3, chapter 16.)
UINTN ReportMachineChecks (const HardwareErrorSources *Sources);
}
