/// The bench on which one module is tested alone: no firmware but a debug service that records.
///
/// A test case runs in a process of its own, so module state is fresh.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "HostMachine.h"
#include "Protocol/SmmDebugService.h"
#include "Uefi/SmmSystemTable.h"

/// A machine on which a processor that pauses has stopped. Tests derive the operations that their
/// module needs.
class StoppingMachine : public HostMachine {
public:
  void Pause () override;
};

/// Fixture. Starts without any debug service and with gSmst null: assertions return.
class ModuleTestBench : public testing::Test {
public:
  ModuleTestBench ();
  ~ModuleTestBench () override;

  /// Binds gSmst to a table whose only protocol is a debug service of this revision: from now on an
  /// assertion stops the processor.
  void InstallDebugService (UINT64 Revision = 0x10001);

  /// Makes another machine answer the module.
  void UseMachine (HostMachine &Machine);

  /// Runs Call. Returns "FILE:LINE TEXT" of the assertion in which the processor stopped, or ""
  /// when it came back.
  template <typename Callable>
  std::string
  StoppedAt (Callable &&Call)
  {
    try {
      CallOut (Call);
      return "";
    } catch (const ProcessorStopped &) {
      return Assertions.empty () ? "no assertion" : Assertions.back ();
    }
  }

  /// What the debug service was given: "LEVEL FORMAT" of each message (level in hexadecimal, the
  /// format unexpanded), "FILE:LINE TEXT" of each assertion.
  std::vector<std::string> Messages;
  std::vector<std::string> Assertions;

  /// The services table behind gSmst. There is no protocol in it, and the other entries are null,
  /// until a test sets them.
  EFI_SMM_SYSTEM_TABLE2 Smst = {};

private:
  /// A frame of its own for what the exception of a stop passes, as CallDriver has one.
  template <typename Callable>
  [[gnu::noinline]] static void
  CallOut (Callable &Call)
  {
    Call ();
  }

  StoppingMachine DefaultMachine;
};
