/// What a failure tells of a machine that hangs, or that has ended while somebody waits for it.
#include "TestMachine.h"

#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "BuiltImage.h"
#include "ImageLoader.h"
#include "Record/Inventory.h"
#include "VolumeWriter.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using Bytes = std::vector<UINT8>;

/// A machine with a driver that has other instructions at a symbol.
class MachineHang : public testing::Test {
public:
  void
  Patch (const std::string &Symbol, const Bytes &Instructions)
  {
    Bytes File = ReadBuiltFile (ImageName);
    ImageFile Image;
    ASSERT_EQ (OpenImage (File.data (), File.size (), Image), nullptr);
    const SectionHeader &Code = Image.Sections[0];
    const UINT64 Place = DriverCode (0).Find (Symbol) - Code.Address + Code.FileOffset;
    std::ranges::copy (Instructions, File.begin () + static_cast<std::ptrdiff_t> (Place));
    const EFI_GUID *const Inventory = &gOrvSmmSystemInventoryInfoProtocolGuid;
    File = MakeModuleFile ({.Name = {},
                            .Title = "Driver",
                            .Version = "",
                            .Dependency = DependencyOnAll ({&Inventory, 1}),
                            .Image = File});
    Options.Modules.front () = Directory.Path () / "Driver.ffs";
    std::ofstream (Options.Modules.front (), std::ios::binary)
        .write (reinterpret_cast<const char *> (File.data ()),
                static_cast<std::streamsize> (File.size ()));
    const Bytes Map = ReadBuiltFile ("VelmoraQsmErrorHandler.map");
    std::ofstream (Directory.Path () / "Driver.map")
        .write (reinterpret_cast<const char *> (Map.data ()),
                static_cast<std::streamsize> (Map.size ()));
  }

  TemporaryDirectory Directory;
  MachineOptions Options = UsualMachine ();
};

TEST_F (MachineHang, TellsWhereEachProcessorIs)
{
  Patch ("_ModuleEntryPoint", {0xEB, 0xFE});   // jmp .
  Options.Patience = std::chrono::seconds (3); // Enough to start on a busy host.
  Options.LogLevels = 0xFFFFFFFF;
  TestMachine Run (Options);
  while (LinesWith (Run.Machine.DebugLog (), "smm: module 1 at").empty ()) {
    std::this_thread::sleep_for (std::chrono::milliseconds (20));
  }
  try {
    Run.Machine.WaitUntilReady ();
    FAIL () << "it is ready";
  } catch (const MachineFailure &Failure) {
    EXPECT_THAT (
        Failure.Reason,
        MatchesRegex ("boot: no line came for 3000 ms; the last line is \"smm: module 1 at .*\""));
    EXPECT_THAT (Failure.Processors,
                 MatchesRegex ("processor 0: RIP 0xFC0[0-9A-F]*, in SMM, module 1, Driver: "
                               "_ModuleEntryPoint\\+0x0\n"
                               "(processor [1-3]: RIP 0x10[0-9A-F]*, outside SMM, halts, "
                               "MachineBoot: gSleepHalt\\+0x1\n){3}"));
    EXPECT_THAT (Failure.what (), HasSubstr ("the debug log ends with:\nboot: "));
    EXPECT_THAT (Failure.what (), testing::EndsWith ("the directory of the run: " +
                                                     Run.Options.Directory.string () + "\n"));
  }
}

TEST_F (MachineHang, TellsAtOnceThatTheMachineHasEnded)
{
  Patch ("QsmLogErrorWrapper", {0x31, 0xC0, 0x89, 0x00}); // xor %eax, %eax; mov %eax, (%rax)
  Options.LogLevels = 0xFFFFFFFF;
  TestMachine Run (Options);
  Run.Machine.WaitUntilReady ();
  try {
    // The machine may end ahead of its answer to this.
    Run.Machine.InjectPcieError ("nv1", "MALF_TLP", false);
    Run.WaitForEvent ();
    FAIL () << "there is an event";
  } catch (const MachineFailure &Failure) {
    EXPECT_THAT (Failure.Reason,
                 MatchesRegex (".*; QEMU has ended: exit code 5, an exception; the last line is "
                               "\"smm: processor 0: exception 14, .*\""));
    EXPECT_THAT (Failure.Processors,
                 MatchesRegex ("processor 0: RIP 0xFC0[0-9A-F]*, module 1, Driver: "
                               "QsmLogErrorWrapper\\+0x2\n"));
    EXPECT_THAT (Failure.what (), HasSubstr ("\nRegisterErrorLogListener, Success\r\n"));
  }
}

} // namespace
