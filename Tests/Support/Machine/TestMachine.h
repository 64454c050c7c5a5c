/// A run of the built ROM with the built image, and its BMC.
#pragma once

#include <optional>

#include <gmock/gmock.h>

#include "BmcProcess.h"
#include "CodeMap.h"
#include "EmulatedMachine.h"
#include "TemporaryDirectory.h"

/// ROM, image and a BMC of its own.
MachineOptions UsualMachine ();

/// One with a third root port, behind which is a switch, and behind that the device nv3.
MachineOptions MachineWithSwitch ();

/// Both processes, in a directory of the run's own, which stays if the test fails meanwhile.
class TestMachine {
  struct RunDirectory : TemporaryDirectory {
    ~RunDirectory ();
    int FailuresBefore = FailureCount ();
  };

  RunDirectory Directory; // Outlives the processes, which write to it.

public:
  /// Fills in the directory, the BMC's socket, and the inventory of all devices if there is none.
  explicit TestMachine (const MachineOptions &Given = UsualMachine ());

  /// The next events at the BMC, for which it waits, or all that it has. Each is what the machine
  /// sent, with the id as text: "00 01 02 CPU0 00".
  std::string WaitForEvent ();
  std::vector<std::string> TakeEvents ();

  /// Stops the machine while the first processor is in SMM and waits for the BMC there.
  void StopInSmm ();

  /// Bytes of memory as a device sees it, or as the processor of StopInSmm.
  std::vector<UINT8> ReadMemory (UINT64 Address, UINT64 Size);
  std::vector<UINT8> ReadSmram (UINT64 Address, UINT64 Size);

  MachineOptions Options;
  std::optional<BmcProcess> Bmc; ///< None unless the machine has an external one.
  EmulatedMachine Machine;

private:
  static int FailureCount ();
  std::vector<UINT8> Save (const char *Command, UINT64 Address, UINT64 Size);
};

/// Symbols of the driver whose image lies at Base.
CodeMap DriverCode (UINT64 Base);

/// Lines of a text that have Part in them, without what stands ahead of it.
std::vector<std::string> LinesWith (const std::string &Text, const std::string &Part);
