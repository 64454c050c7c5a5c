/// A machine of real x86 processors in QEMU, with real System Management Mode.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "MachineError.h"
#include "MachineOptions.h"
#include "QmpClient.h"

/// SMIs of one processor, with the ticks of its time-stamp counter from SMM entry to RSM.
struct SmiTimes {
  UINT64 Count, Last, Shortest, Longest;
};

/// What the machine answers to "state".
struct MachineState {
  UINT64 PoolBlocks, PoolBytes;
  UINT64 ChecksumAtReady, ChecksumNow;
  std::vector<SmiTimes> Processors;
};

/// What went wrong once QEMU had been started. The whole text has the processors, the tails of all
/// logs and the directory of the run too.
struct MachineFailure : MachineError {
  MachineFailure (std::string Summary, std::string Places, const std::string &Logs)
      : MachineError (Summary + "\nprocessors:\n" + Places + Logs), Reason (std::move (Summary)),
        Processors (std::move (Places))
  {
  }

  std::string Reason;     ///< The step, and why it failed.
  std::string Processors; ///< A line for each: where it was, and whether in SMM.
};

/// One run. No step of it is waited for longer than the options allow; what goes wrong is a
/// MachineFailure, or another MachineError if QEMU could not be started. QEMU ends with the object.
class EmulatedMachine {
public:
  /// Starts QEMU and connects to it. The machine then boots by itself.
  explicit EmulatedMachine (const MachineOptions &Given);
  ~EmulatedMachine ();
  EmulatedMachine (const EmulatedMachine &) = delete;
  EmulatedMachine &operator= (const EmulatedMachine &) = delete;

  /// Waits until the boot is over. The driver has been loaded then, and may have left again.
  void WaitUntilReady ();

  /// Gives the machine a command over its control channel and returns the lines of the answer
  /// without the last one, "done". An answer that ends with "error: ..." is a MachineError.
  std::vector<std::string> Command (const std::string &Line);

  /// The machine's closing state so far.
  MachineState State ();

  /// Makes a PCI Express device raise an error of its Advanced Error Reporting capability by the
  /// name that QEMU gives it, such as MALF_TLP or BAD_TLP.
  void InjectPcieError (const std::string &Device, const std::string &Name, bool IsCorrected);

  /// Sets the machine-check registers of a processor, and raises the exception if the status is
  /// uncorrected.
  void InjectMachineCheck (
      UINTN Processor, UINTN Bank, UINT64 Status, UINT64 McgStatus, UINT64 Address, UINT64 Misc);

  /// Sends "exit Number" and returns the number with which the machine ends.
  int Exit (int Number);

  /// Waits for the end of the machine and returns the number that it wrote to the exit port; also 0
  /// if QEMU itself failed, which the machine never writes unless it is told to. A machine that
  /// reset itself, as after a triple fault, is a MachineError.
  int WaitForEnd ();

  /// All that the driver has sent by COM1.
  [[nodiscard]] std::string RasLog () const;

  /// All that the firmware has written to its debug console.
  [[nodiscard]] std::string DebugLog () const;

  /// File of what QEMU says itself, such as the traces that were asked for.
  [[nodiscard]] const std::filesystem::path &
  ErrorFile () const
  {
    return Files.Errors;
  }

  [[nodiscard]] pid_t
  ProcessId () const
  {
    return Qemu->Id ();
  }

  /// Becomes readable when QEMU ends.
  [[nodiscard]] int
  EndDescriptor () const
  {
    return Qemu->EndDescriptor ();
  }

  /// Run a command of QEMU's control protocol, or of its human monitor, and return the answer.
  nlohmann::json Execute (const std::string &Command,
                          const nlohmann::json &Arguments = nlohmann::json::object ());
  std::string ExecuteHuman (const std::string &Line);

  /// Runs Body, which waits for something that the machine has to do, such as to send an event, and
  /// makes a MachineFailure of a MachineError. All waits for the machine go this way.
  template <typename Function>
  auto
  Guard (const std::string &Step, Function &&Body)
  {
    try {
      return Body ();
    } catch (const MachineFailure &) {
      throw;
    } catch (const MachineError &Error) {
      Fail (Step, Error.what ());
    }
  }

private:
  FileDescriptor Accept (const FileDescriptor &Listener);
  void Inject (const std::string &Line, const std::string &Expected);
  [[noreturn]] void Fail (const std::string &Step, const std::string &Reason);

  MachineOptions Options;
  MachineFiles Files;
  std::unique_ptr<ChildProcess> Qemu;
  QmpClient Monitor;
  LineChannel Control;
};
