/// How a boot ends that was given what it cannot use.
#include "TestMachine.h"

#include <fstream>

#include <gtest/gtest.h>

#include "BuiltImage.h"
#include "MachineError.h"
#include "MachineLog.h"
#include "Uefi/PeImage.h"
#include "VolumeWriter.h"

namespace {

/// Boots and expects the end with its line, the last one of the debug log.
void
ExpectEnd (MachineOptions Options, int Number, const std::string &Line)
{
  SCOPED_TRACE (Line);
  // It must not end ahead of the connection to it, and may end ahead of its answer.
  Options.IsStopped = true;
  TestMachine Run (Options);
  try {
    Run.Machine.Execute ("cont");
  } catch (const MachineError &) {
  }
  EXPECT_EQ (Run.Machine.WaitForEnd (), Number);
  EXPECT_TRUE (Run.Machine.DebugLog ().ends_with (Line + "\n")) << Run.Machine.DebugLog ();
}

MachineOptions
WithoutBmc ()
{
  MachineOptions Options = UsualMachine ();
  Options.Bmc = BmcConnection::None;
  return Options;
}

TEST (MachineRefusal, OfInventoryLines)
{
  const struct {
    const char *Inventory, *Complaint;
  } Rows[] = {
      {"disk 1 Disk1", "1: expected processor, memory, slot or port"},
      {"processor 0 CPU0\n\nprocessor CPU1", "3: expected processor SOCKET NAME"},
      {"processor 256 CPU0", "1: expected processor SOCKET NAME"},
      {"processor 0 CPU0 left", "1: there are words too many"},
      {"memory 0 0 DIMM", "1: expected memory SOCKET CHANNEL DIMM NAME [BASE SIZE]"},
      {"memory 0 0 0 DIMM 1000", "1: expected memory SOCKET CHANNEL DIMM NAME [BASE SIZE]"},
      {"memory 0 0 0 DIMM 0 1g", "1: expected memory SOCKET CHANNEL DIMM NAME [BASE SIZE]"},
      {"memory 0 0 0 A fff 2\nmemory 0 1 0 B\nmemory 0 1 1 C 1000 1000",
       "3: the addresses are those of another DIMM too"},
      {"memory 0 0 0 A 10 ffffffffffffffff\nmemory 0 1 0 B 0 1",
       "2: the addresses are those of another DIMM too"},
      {"slot 1", "1: expected slot or port NUMBER NAME"},
      {"slot 3 Slot3", "1: no root port has this slot"},
      {"slot 4 Empty", "1: the slot is empty"},
  };
  for (const auto &Row : Rows) {
    MachineOptions Options = WithoutBmc ();
    Options.Inventory = Row.Inventory;
    Options.Extra = {"-device", "pcie-root-port,id=rp4,chassis=4,slot=4,addr=4.0"};
    ExpectEnd (Options, EndSettings, std::string ("boot: inventory line ") + Row.Complaint);
  }
}

TEST (MachineRefusal, OfSettings)
{
  MachineOptions Options = WithoutBmc ();
  Options.Extra = {"-fw_cfg", "name=opt/velmora/quiet,string=yes"};
  ExpectEnd (Options, EndSettings,
             "boot: opt/velmora/quiet: expected a number up to 1, found \"yes\"");

  Options = WithoutBmc ();
  Options.Inventory = std::string ("processor 0 CPU0\0\ndisk", 22);
  ExpectEnd (Options, EndSettings, "boot: opt/velmora/inventory is no text: byte 16 is 0");
}

/// The driver's image without anything to wait for, with one byte changed, as a firmware file.
FirmwareBytes
DriverFile (UINTN Place, UINT8 Byte, const FirmwareBytes &Dependency)
{
  FirmwareBytes Image = ReadBuiltFile (ImageName);
  Image[Place] = Byte;
  return MakeModuleFile (
      {.Name = {}, .Title = "Driver", .Version = "", .Dependency = Dependency, .Image = Image});
}

TEST (MachineRefusal, OfModules)
{
  const FirmwareBytes Image = ReadBuiltFile (ImageName);
  const UINT8 First = Image[0];
  const UINTN Pe = reinterpret_cast<const DosHeader *> (Image.data ())->PeOffset;
  const UINTN Sections = Pe + sizeof (PeHeaders);
  FirmwareBytes Damaged = DriverFile (0, First, {EFI_DEP_TRUE, EFI_DEP_END});
  Damaged.back ()++;
  const struct {
    FirmwareBytes File;
    RunEnd End;
    const char *Line;
  } Rows[] = {
      {Damaged, EndSettings, "smm: volume: byte 0x1000: a file's checksum is wrong"},
      {DriverFile (0, First, {EFI_DEP_AND, EFI_DEP_END}), EndSettings,
       "smm: Driver: dependency expression, byte 0x0: an operand is missing"},
      {DriverFile (0, 0, {EFI_DEP_TRUE, EFI_DEP_END}), EndSettings,
       "smm: Driver: the file has no DOS header"},
      {DriverFile (Sections + offsetof (SectionHeader, Address), 1, {EFI_DEP_TRUE, EFI_DEP_END}),
       EndSettings, "smm: Driver: a section does not begin with a page"},
      // Nothing holds the driver back until the inventory is there.
      {DriverFile (0, First, {EFI_DEP_TRUE, EFI_DEP_END}), EndAssertion,
       "smm 0: ASSERT VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:377 "
       "!(((INTN)(RETURN_STATUS)(Status)) < 0)"},
  };
  const TemporaryDirectory Directory;
  MachineOptions Options = WithoutBmc ();
  Options.Modules.front () = Directory.Path () / "driver.ffs";
  for (const auto &Row : Rows) {
    std::ofstream (Options.Modules.front (), std::ios::binary)
        .write (reinterpret_cast<const char *> (Row.File.data ()),
                static_cast<std::streamsize> (Row.File.size ()));
    ExpectEnd (Options, Row.End, Row.Line);
  }
}

TEST (MachineRefusal, OfAModuleThatWaitsForWhatDoesNotCome)
{
  MachineOptions Options = WithoutBmc ();
  Options.Modules.pop_back ();
  TestMachine Run (Options);
  Run.Machine.WaitUntilReady ();
  EXPECT_THAT (LinesWith (Run.Machine.DebugLog (), "smm: VelmoraQsmErrorHandler"),
               testing::ElementsAre ("smm: VelmoraQsmErrorHandler waits for "
                                     "710D487E-1A44-4B32-9D5B-4DB6A4A4430D"));
  EXPECT_EQ (Run.Machine.Exit (21), 21);
}

} // namespace
