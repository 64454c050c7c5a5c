/// What an emulated machine is made of.
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Base.h"

enum class BmcConnection {
  None,      ///< No IPMI interface.
  Simulated, ///< QEMU's own BMC, which refuses the event command.
  External   ///< A process at MachineOptions.BmcPort or BmcSocket, now or later.
};

struct MachineOptions {
  std::filesystem::path Directory = {}; ///< Of the run's files: one of its own, which is there.
  std::filesystem::path Rom = {};
  /// Firmware files of the volume that the ROM finds in memory, the driver's first; none if empty.
  std::vector<std::filesystem::path> Modules = {};
  UINTN DriverCount = 1; ///< How often the volume has the first module, each time by another name.
  std::string Inventory = {}; ///< Text of the system inventory, as docs/machine.md has it.
  std::optional<UINT32> LogLevels = {}; ///< Mask of the RAS debug log.
  bool IsQuiet = false;                 ///< Leaves the messages of the driver out of the debug log.

  UINTN ProcessorCount = 4;
  UINTN SocketCount = 2;                       ///< Divides the number of processors.
  std::string Cpu = "max,vendor=GenuineIntel"; ///< As QEMU's -cpu takes it.
  UINTN PortCount = 2; ///< Root ports rp1, rp2, ... with the devices nv1, nv2, ... behind them.

  BmcConnection Bmc = BmcConnection::None;
  std::filesystem::path BmcSocket = {};
  UINTN BmcPort = 0; ///< TCP port of 127.0.0.1, in place of the socket unless 0.

  bool CountsInstructions = false;     ///< Time goes by instructions, so that all runs are alike.
  std::string GdbServer = {};          ///< Where to wait for a debugger, as QEMU's -gdb takes it.
  bool IsStopped = false;              ///< No processor runs until QMP or a debugger says so.
  std::vector<std::string> Extra = {}; ///< Further arguments of QEMU.

  /// No single step of the machine is waited for longer.
  std::chrono::milliseconds Patience = std::chrono::seconds (30);
};

/// Files of one run, all in its directory.
struct MachineFiles {
  std::filesystem::path RasLog = {};    ///< What the driver sends by COM1.
  std::filesystem::path DebugLog = {};  ///< What the firmware writes to its debug console.
  std::filesystem::path Control = {};   ///< Socket of the control channel, COM2.
  std::filesystem::path Qmp = {};       ///< Socket of QMP.
  std::filesystem::path Inventory = {}; ///< The text of the options.
  std::filesystem::path Volume = {};    ///< Of the options' modules.
  std::filesystem::path Errors = {};    ///< What QEMU itself complains of.
  std::filesystem::path Command = {};   ///< QEMU's command line, for a shell.
};

/// Where the files of a run are.
MachineFiles FilesIn (const std::filesystem::path &Directory);

/// A system inventory that names all that errors can be injected into: the processor of each socket
/// ("CPU1"), its memory ("CPU1_C0_D0"), and the slot of each port ("Slot1"). The sockets share the
/// memory in equal parts.
std::string MachineInventory (const MachineOptions &Options);

/// The firmware volume of the options' modules; nothing without any. Throws InputError for a file
/// that cannot be read or is none.
std::vector<UINT8> MachineVolume (const MachineOptions &Options);

/// The command line of QEMU. VolumeSize is that of the volume in bytes.
std::vector<std::string>
MachineArguments (const MachineOptions &Options, const MachineFiles &Files, UINTN VolumeSize);
