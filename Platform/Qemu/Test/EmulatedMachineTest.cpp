#include "EmulatedMachine.h"

#include <csignal>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MachineError.h"
#include "TemporaryDirectory.h"

// A ROM that plays the firmware: it writes to all of its outputs, says that it is ready, and then
// obeys the first letter of each line.
asm(R"(
        .pushsection .rodata
        .code16
        .set    Place, 0x10000 - (TestRomEnd - TestRom)
TestRom:
        mov     $0x402, %dx
        mov     $(DebugText - TestRom + Place), %si
        call    Write
        mov     $0x3F8, %dx
        mov     $(RasText - TestRom + Place), %si
        call    Write
        mov     $(Ready - TestRom + Place), %si
Say:    mov     $0x2F8, %dx
        call    Write
Next:   mov     $0x2FD, %dx
        in      %dx, %al
        test    $1, %al
        jz      Next
        mov     $0x2F8, %dx
        in      %dx, %al
        mov     $(Good - TestRom + Place), %si
        cmp     $'g', %al
        je      Say
        mov     $(Bad - TestRom + Place), %si
        cmp     $'b', %al
        je      Say
        cmp     $'e', %al
        je      End
        cmp     $'t', %al
        jne     Next
        lidtl   %cs:(Table - TestRom + Place)
        int3
End:    mov     $3, %al
        out     %al, $0xF4
        hlt
Write:  lodsb   %cs:(%si), %al
        test    %al, %al
        jz      Written
        out     %al, %dx
        jmp     Write
Written: ret
DebugText: .asciz "firmware\n"
RasText: .asciz "driver\n"
Ready:  .asciz "ready\n"
Good:   .asciz "first\r\nsecond\ndone\n"
Bad:    .asciz "more\nerror: not that\n"
Table:  .zero   6
        .balign 16
        jmp     TestRom
        .zero   16 - (. - TestRom) % 16
TestRomEnd:
        .code64
        .popsection
)");
extern "C" const UINT8 TestRom[], TestRomEnd[];

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::MatchesRegex;

/// The text of the MachineError that Body throws.
template <typename Function>
std::string
ErrorOf (Function &&Body)
{
  try {
    Body ();
  } catch (const MachineError &Error) {
    return Error.what ();
  }
  return "no error";
}

class EmulatedMachineTest : public testing::Test {
public:
  EmulatedMachineTest ()
  {
    std::string Rom (0x10000, '\0');
    Rom.replace (Rom.size () - static_cast<std::size_t> (TestRomEnd - TestRom), Rom.size (),
                 reinterpret_cast<const char *> (TestRom),
                 static_cast<std::size_t> (TestRomEnd - TestRom));
    std::ofstream (Options.Rom, std::ios::binary) << Rom;
  }

  TemporaryDirectory Directory;
  MachineOptions Options{.Directory = Directory.Path (),
                         .Rom = Directory.Path () / "rom",
                         .ProcessorCount = 2,
                         .Bmc = BmcConnection::External,
                         .BmcSocket = Directory.Path () / "bmc"};
};

TEST_F (EmulatedMachineTest, IsDrivenOverItsChannels)
{
  EmulatedMachine Machine (Options);
  Machine.WaitUntilReady ();
  EXPECT_THAT (Machine.Command ("good"), ElementsAre ("first", "second"));
  const std::string Error = ErrorOf ([&] { Machine.Command ("bad"); });
  EXPECT_THAT (Error,
               testing::StartsWith ("bad: error: not that; the last line is \"firmware\"\n"));
  EXPECT_THAT (Error, testing::EndsWith ("\nthe debug log ends with:\nfirmware\n"
                                         "the RAS log ends with:\ndriver\n"
                                         "the directory of the run: " +
                                         Directory.Path ().string () + "\n"));
  EXPECT_EQ (Machine.Execute ("query-status")["status"], "running");
  EXPECT_THROW (Machine.Execute ("no-such"), MachineError);
  EXPECT_EQ (Machine.RasLog (), "driver\n");
  EXPECT_EQ (Machine.DebugLog (), "firmware\n");
  EXPECT_EQ (Machine.Exit (0), 3);
}

TEST_F (EmulatedMachineTest, FailsWithinItsPatience)
{
  MachineOptions Impatient = Options;
  Impatient.Patience = std::chrono::seconds (3); // Enough to start on a busy host.
  EmulatedMachine Silent (Impatient);
  Silent.WaitUntilReady ();
  EXPECT_THAT (ErrorOf ([&] { Silent.WaitForEnd (); }), HasSubstr ("still runs after 3000 ms"));
  kill (Silent.ProcessId (), SIGSTOP);
  EXPECT_THAT (
      ErrorOf ([&] { Silent.Command ("good"); }),
      testing::StartsWith ("good: no line came for 3000 ms; the last line is \"firmware\"\n"
                           "processors:\n"
                           "QEMU does not tell: no line came for 3000 ms\n"));
  kill (Silent.ProcessId (), SIGKILL);
  EXPECT_THAT (
      ErrorOf ([&] { Silent.Command ("good"); }),
      MatchesRegex ("good: [^\n]*; QEMU has ended: signal 9; the last line is \"firmware\"\n.*"));

  EmulatedMachine Resetting (Options);
  Resetting.WaitUntilReady ();
  EXPECT_THAT (ErrorOf ([&] { Resetting.Command ("triple"); }),
               HasSubstr ("QEMU has ended: exit code 0"));
  EXPECT_THAT (ErrorOf ([&] { Resetting.WaitForEnd (); }), HasSubstr ("triple fault"));

  Options.Cpu = "none";
  EXPECT_THAT (ErrorOf ([&] { const EmulatedMachine Machine (Options); }),
               HasSubstr ("QEMU says:\nqemu-system-x86_64: "));
}

TEST_F (EmulatedMachineTest, TakesErrorsOfEachDeviceAndProcessor)
{
  Options.IsStopped = true;
  EmulatedMachine Machine (Options);
  for (const char *Device : {"nv1", "nv2"}) {
    Machine.InjectPcieError (Device, "MALF_TLP", false);
    Machine.InjectPcieError (Device, "BAD_TLP", true);
  }
  EXPECT_THAT (ErrorOf ([&] { Machine.InjectPcieError ("nv3", "BAD_TLP", true); }),
               HasSubstr ("pcie_aer_inject_error -c nv3 BAD_TLP: "));
  Machine.InjectMachineCheck (1, 9, 0x8C00000000000080, 0, 0x1000, 0);
  EXPECT_THAT (ErrorOf ([&] { Machine.InjectMachineCheck (0, 99, 0, 0, 0, 0); }),
               HasSubstr ("mce 0 99"));
}

TEST (MachineArguments, SayWhatTheOptionsSay)
{
  const MachineFiles Files = {.Inventory = "a,b/inventory", .Volume = "a,b/modules"};
  const std::vector<std::string> Arguments = MachineArguments ({.Inventory = "text",
                                                                .LogLevels = 0x0C000000,
                                                                .IsQuiet = true,
                                                                .PortCount = 17,
                                                                .CountsInstructions = true,
                                                                .GdbServer = "tcp:127.0.0.1:1234",
                                                                .IsStopped = true,
                                                                .Extra = {"-extra"}},
                                                               Files, 1000);
  EXPECT_THAT (Arguments,
               IsSupersetOf ({"loader,file=a,,b/modules,addr=0x2000000,force-raw=on",
                              "name=opt/velmora/volume-size,string=1000",
                              "name=opt/velmora/inventory,file=a,,b/inventory",
                              "name=opt/velmora/log-levels,string=c000000",
                              "name=opt/velmora/quiet,string=1",
                              "pcie-root-port,id=rp17,chassis=17,slot=17,addr=11.0",
                              "shift=0,sleep=off", "tcp:127.0.0.1:1234", "-S", "-extra"}));
  EXPECT_THAT (Arguments, testing::Not (testing::Contains (HasSubstr ("ipmi"))));
  EXPECT_THAT (MachineArguments ({.Bmc = BmcConnection::External, .BmcPort = 99}, {}, 0),
               testing::Contains ("socket,id=ipmi0,host=127.0.0.1,port=99,reconnect=1"));
}

} // namespace
