/// The bench on which one module is tested on the stand-in firmware: services that have a state of
/// their own, and that fail where a test wants them to.
///
/// A test case runs in a process of its own, so module state is fresh.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "FaultPlan.h"
#include "HostWorld.h"
#include "Pool.h"
#include "Protocol/SmmAccess2.h"
#include "ProtocolDatabase.h"
#include "SimulatedMachine.h"
#include "SmmDebugServiceLib.h"

/// An allocation service of a pool that succeeds without a block.
EFI_STATUS EFIAPI GivesNothing (EFI_MEMORY_TYPE PoolType, UINTN Size, VOID **Buffer);

/// A GetCapabilities of the SMM access protocol that succeeds without being given room for the map.
EFI_STATUS EFIAPI
KnowsNoSize (const EFI_SMM_ACCESS2_PROTOCOL *This, UINTN *Size, EFI_SMRAM_DESCRIPTOR *Map);

/// Fixture. Starts with all services there but the debug service, so that assertions return, and
/// with gSmst, gST and gBS bound to them. The machine has two processors, each in a package of its
/// own.
class FirmwareTestBench : public testing::Test {
public:
  FirmwareTestBench ();
  ~FirmwareTestBench () override;

  /// A new boot: all services are there again and as new. What the module has bound before is as
  /// good as what it would find now.
  void PowerOn ();

  /// Brings the debug service: from now on, in later boots too, an assertion stops the processor.
  void InstallDebugService ();

  /// Runs Call. Returns "FILE:LINE TEXT" of the assertion in which the processor stopped, "no
  /// assertion" when it stopped in another way, or "" when it came back.
  template <typename Callable>
  std::string
  StoppedAt (Callable &&Call)
  {
    const std::size_t Start = World.Log.size ();
    try {
      Call ();
      return "";
    } catch (const ProcessorStopped &) {
      return LastAssertion (Start);
    }
  }

  /// The texts of all messages of a level so far, as a reader sees them.
  std::string Messages (UINTN Level = DEBUG_ERROR) const;

  SimulatedMachine Machine;
  HostWorld World;

private:
  bool HasDebugService = false;

  std::string LastAssertion (std::size_t Start) const;
};
