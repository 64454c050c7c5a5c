/// How long an error keeps its processor in SMM.
#include "TestMachine.h"

#include <gtest/gtest.h>

namespace {

TEST (MachineTime, OfAnErrorIsBounded)
{
  // In instructions, which are the same in each run. The emulator's own BMC answers at once.
  constexpr UINT64 QuietMax = 8000;
  constexpr UINT64 LoggedMax = 30000;
  for (const bool IsQuiet : {true, false}) {
    SCOPED_TRACE (IsQuiet);
    MachineOptions Options = UsualMachine ();
    Options.IsQuiet = IsQuiet;
    Options.Bmc = BmcConnection::Simulated;
    Options.CountsInstructions = true;
    TestMachine Run (Options);
    Run.Machine.WaitUntilReady ();
    for (const char *Error : {"bank 0 4 9000000000000135 0 0", "bank 0 4 9400000000000090 1000 0",
                              "pcie_aer_inject_error nv1 MALF_TLP"}) {
      SCOPED_TRACE (Error);
      if (Error[0] == 'b') {
        Run.Machine.Command (Error);
      } else {
        Run.Machine.ExecuteHuman (Error);
      }
      const UINT64 Last = Run.Machine.State ().Processors[0].Last;
      EXPECT_GT (Last, 3000U) << "an SMI without an error";
      EXPECT_LT (Last, IsQuiet ? QuietMax : LoggedMax);
    }
  }
}

} // namespace
