#include "Qsmmachine.h"
#include "ToolTest.h"

namespace {

class Qsmmachine : public ToolTest {
public:
  Qsmmachine () : ToolTest ("qsmmachine", QsmmachineMain)
  {
    Write ("rom", "no ROM");
    Write ("driver", "no driver, but as long as one");
  }
};

TEST_F (Qsmmachine, RefusesBadInputWithOneLine)
{
  const std::string F = "--rom rom --driver driver ";
  const Refusal Rows[] = {
      {F + "--cpus 1", "There is no \"--cpus\" here (see --help)"},
      {"--rom nosuch", "nosuch: expected a readable file: No such file or directory"},
      {"--rom rom --driver nosuch", "nosuch: expected a readable file: No such file or directory"},
      {F + "--smp 17", "--smp: expected a number from 1 to 16, found \"17\""},
      {F + "--smp 4,cores=2", "--smp: expected a number from 1 to 16, found \"4,cores=2\""},
      {F + "--smp 4,sockets=3",
       "--smp sockets: expected a divisor of the number of processors, found \"3\""},
      {F + "--smp 2,sockets=4", "--smp sockets: expected a number from 1 to 2, found \"4\""},
      {F + "--smp 2,sockets=2",
       "--smp sockets: expected two processors in each of several sockets, found \"2\""},
      {F + "--smp 5,sockets=5", "--smp sockets: expected a number from 1 to 4, found \"5\""},
      {F + "--drivers 0", "--drivers: expected a number from 1 to 16, found \"0\""},
      {F + "--drivers 2 --withhold VelmoraQsmErrorHandler",
       "--drivers: expected 1 with --withhold VelmoraQsmErrorHandler, found \"2\""},
      {F + "--bmc-port 0", "--bmc-port: expected a number from 1 to 65535, found \"0\""},
      {F + "--gdb 65536", "--gdb: expected a number from 1 to 65535, found \"65536\""},
      {F + "--bmc-mode refuse=0",
       "--bmc-mode refuse: expected a number from 1 to 255, found \"0\""},
      {F + "--bmc-mode deaf",
       "--bmc-mode: expected normal, mute, late, refuse, garbage, found \"deaf\""},
      {F + "--bmc-mode mute --quiet", "--bmc-mode excludes --quiet (see --help)"},
      {F + "--inventory nosuch", "nosuch: expected a readable file: No such file or directory"},
      {F + "--log-levels 0x100000000",
       "--log-levels: expected a number from 0 to 4294967295, found \"0x100000000\""},
      {F + "--inject fire",
       "--inject: expected one of the kinds that --help lists, found \"fire\""},
      {F + "--inject pcie-corrected@nv3",
       "--inject pcie-corrected: expected a target from nv1 to nv2, found \"nv3\""},
      {F + "--inject pcie-corrected@1",
       "--inject pcie-corrected: expected a target from nv1 to nv2, found \"1\""},
      {F + "--smp 2 --inject memory-corrected@2",
       "--inject memory-corrected: expected a target from 0 to 1, found \"2\""},
      {F + "--inject memory-corrected pcie-corrected",
       "There is no \"pcie-corrected\" here (see --help)"},
  };
  ExpectRefused (Rows);
}

TEST_F (Qsmmachine, ReportsARunThatDoesNotStart)
{
  // QEMU has been started, so the directory of the run stays.
  std::filesystem::create_directory ("runs");
  setenv ("TMPDIR", "runs", 1);
  const ToolResult Text = Run ("--rom rom --driver driver");
  unsetenv ("TMPDIR");
  EXPECT_EQ (Text.ExitCode, 1);
  EXPECT_FALSE (std::filesystem::is_empty ("runs"));
  EXPECT_NE (Text.Out.find ("QEMU:\n  qemu: could not load PC BIOS"), std::string::npos)
      << Text.Out;
  EXPECT_NE (Text.Out.find ("fault: start: "), std::string::npos) << Text.Out;
  const ToolResult Json = Run ("--rom rom --driver driver --bmc rom --json");
  EXPECT_EQ (Json.ExitCode, 1);
  EXPECT_NE (Json.Out.find ("\"fault\": \"rom: cannot be started: "), std::string::npos)
      << Json.Out;
}

TEST_F (Qsmmachine, ReportsABmcThatIsNone)
{
  Write ("bmc", "#!/bin/sh\necho '{\"sequence\":\"1\"}'\nread line\n");
  std::filesystem::permissions ("bmc", std::filesystem::perms::owner_all);
  const ToolResult Result = Run ("--rom rom --driver driver --bmc ./bmc");
  EXPECT_EQ (Result.ExitCode, 1);
  EXPECT_EQ (Result.Out, "fault: BMC: expected an event, found {\"sequence\":\"1\"}\n");
}

TEST_F (Qsmmachine, LeavesNothingBehindWhenItIsInterrupted)
{
  // The BMC interrupts the run before it is there.
  Write ("bmc", "#!/bin/sh\nkill -TERM $PPID\nread line\n");
  std::filesystem::permissions ("bmc", std::filesystem::perms::owner_all);
  std::filesystem::create_directory ("runs");
  setenv ("TMPDIR", "runs", 1);
  const ToolResult Result = Run ("--rom rom --driver driver --bmc ./bmc");
  unsetenv ("TMPDIR");
  EXPECT_EQ (Result.ExitCode, 1);
  EXPECT_EQ (Result.Out, "fault: BMC: listening: interrupted by signal 15\n");
  EXPECT_TRUE (std::filesystem::is_empty ("runs"));
}

TEST_F (Qsmmachine, NeedsADirectoryForItsRun)
{
  setenv ("TMPDIR", "/nosuch", 1);
  const ToolResult Result = Run ("--rom rom --driver driver");
  unsetenv ("TMPDIR");
  EXPECT_EQ (Result.ExitCode, 2);
  EXPECT_EQ (Result.Err, "qsmmachine: TMPDIR: expected a directory to make one in: "
                         "No such file or directory\n");
}

TEST_F (Qsmmachine, ListsTheKindsOfErrors)
{
  const ToolResult Result = Run ("--help");
  EXPECT_EQ (Result.ExitCode, 0);
  EXPECT_NE (Result.Out.find ("  pcie-uncorrected@DEVICE     malformed TLP"), std::string::npos)
      << Result.Out;
}

} // namespace
