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
  External   ///< A process at MachineOptions.BmcSocket, now or later.
};

struct MachineOptions {
  std::filesystem::path Rom = {};
  std::filesystem::path Driver = {}; ///< The image, which the ROM finds in memory; none if empty.
  std::string DriverCount = "1";
  std::string Inventory = {};           ///< Text of the system inventory; the ROM's own if empty.
  std::optional<UINT32> LogLevels = {}; ///< Mask of the RAS debug log.

  std::string Processors = "4,sockets=2"; ///< As QEMU's -smp takes it.
  std::string Cpu = "max";                ///< As QEMU's -cpu takes it.
  UINTN PortCount = 2; ///< Root ports rp1, rp2, ... with the devices nv1, nv2, ... behind them.

  BmcConnection Bmc = BmcConnection::None;
  std::filesystem::path BmcSocket = {};

  bool CountsInstructions =
      false;                  ///< Time is a matter of instructions, so that all runs are alike.
  std::string GdbServer = {}; ///< Where to wait for a debugger, as QEMU's -gdb takes it.
  bool IsStopped = false;     ///< No processor runs until QMP or a debugger says so.
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
  std::filesystem::path Errors = {};    ///< What QEMU itself complains of.
};

/// The command line of QEMU. DriverSize is that of the image in bytes.
std::vector<std::string>
MachineArguments (const MachineOptions &Options, const MachineFiles &Files, UINTN DriverSize);
