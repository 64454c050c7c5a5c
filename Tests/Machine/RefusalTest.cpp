/// How a boot ends that was given what it cannot use.
#include "TestMachine.h"

#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

#include "BuiltImage.h"
#include "ImageLoader.h"
#include "LocalSocket.h"
#include "MachineError.h"
#include "MachineLog.h"
#include "Record/Inventory.h"

namespace {

using Bytes = std::vector<UINT8>;

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
  Options.DriverCount = 17;
  ExpectEnd (Options, EndSettings,
             "boot: opt/velmora/drivers: expected a number up to 16, found \"17\"");
  Options = WithoutBmc ();
  Options.Extra = {"-fw_cfg", "name=opt/velmora/quiet,string=yes"};
  ExpectEnd (Options, EndSettings,
             "boot: opt/velmora/quiet: expected a number up to 1, found \"yes\"");

  Options = WithoutBmc ();
  Options.Inventory = std::string ("processor 0 CPU0\0\ndisk", 22);
  ExpectEnd (Options, EndSettings, "boot: opt/velmora/inventory is no text: byte 16 is 0");

  // The library always gives the file's size.
  const TemporaryDirectory Directory;
  Options = WithoutBmc ();
  const MachineFiles Files = FilesIn (Directory.Path ());
  std::vector<std::string> Arguments = MachineArguments (Options, Files, 1);
  const auto Size = std::ranges::find (Arguments, "name=opt/velmora/image-size,string=1");
  ASSERT_NE (Size, Arguments.end ());
  Arguments.erase (Size - 1, Size + 1);
  const FileDescriptor Channels[] = {ListenAt (Files.Control), ListenAt (Files.Qmp)};
  ChildProcess Qemu (Arguments, {});
  EXPECT_EQ (Qemu.WaitForEnd (Deadline (Options.Patience)).value_or (0), 3 << 8);
  std::ostringstream Log;
  Log << std::ifstream (Files.DebugLog).rdbuf ();
  EXPECT_EQ (Log.str (), "boot: 64-bit mode\nboot: opt/velmora/image-size is missing\n");
}

TEST (MachineRefusal, OfDriverFiles)
{
  const Bytes Whole = ReadBuiltFile (ImageName);
  ImageFile Image;
  ASSERT_EQ (OpenImage (Whole.data (), Whole.size (), Image), nullptr);
  const auto PlaceOf = [&] (const VOID *Field) {
    return static_cast<UINTN> (static_cast<const UINT8 *> (Field) - Whole.data ());
  };
  const UINTN Pe = PlaceOf (Image.Headers);
  const UINTN First = PlaceOf (Image.Sections);
  const EFI_GUID Guid = gOrvSmmSystemInventoryInfoProtocolGuid;
  const auto *GuidBytes = reinterpret_cast<const UINT8 *> (&Guid);
  const UINTN Inventory = static_cast<UINTN> (
      std::search (Whole.begin (), Whole.end (), GuidBytes, GuidBytes + sizeof (Guid)) -
      Whole.begin ());
  ASSERT_LT (Inventory, Whole.size ());
  const struct {
    UINTN Place;
    UINT8 Byte; ///< What is there instead.
    RunEnd End;
    const char *Line;
  } Rows[] = {
      {0, 0, EndSettings, "smm: driver file: the file has no DOS header"},
      {Pe, 0, EndSettings, "smm: driver file: the file has no PE header"},
      {Pe + offsetof (PeHeaders, Machine), 0, EndSettings,
       "smm: driver file: the image is not PE32+ for x86-64"},
      {First + offsetof (SectionHeader, FileOffset) + 3, 1, EndSettings,
       "smm: driver file: a section lies outside the file"},
      {First + offsetof (SectionHeader, MemorySize) + 3, 1, EndSettings,
       "smm: driver file: a section lies outside the image's memory"},
      {First + offsetof (SectionHeader, Address), 1, EndSettings,
       "smm: driver file: a section does not begin with a page"},
      {Pe + offsetof (PeHeaders, EntryPoint) + 3, 1, EndSettings,
       "smm: driver file: the entry point lies in no executable section"},
      {Pe + offsetof (PeHeaders, EntryPoint) + 1, 0xA0, EndSettings,
       "smm: driver file: the entry point lies in no executable section"},
      {Pe + offsetof (PeHeaders, Characteristics), 0x22 | PE_RELOCATIONS_STRIPPED, EndSettings,
       "smm: driver file: the relocations were stripped"},
      {Pe + offsetof (PeHeaders, Directories[PE_DIRECTORY_RELOCATION].Size), 6, EndSettings,
       "smm: driver file: the relocations end within the head of a block"},
      // This driver asks for a protocol that nobody has.
      {Inventory, 0, EndAssertion,
       "smm 0: ASSERT VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:377 "
       "!(((INTN)(RETURN_STATUS)(Status)) < 0)"},
  };
  const TemporaryDirectory Directory;
  MachineOptions Options = WithoutBmc ();
  Options.Driver = Directory.Path () / "driver";
  for (const auto &Row : Rows) {
    Bytes File = Whole;
    File[Row.Place] = Row.Byte;
    std::ofstream (Options.Driver, std::ios::binary)
        .write (reinterpret_cast<const char *> (File.data ()),
                static_cast<std::streamsize> (File.size ()));
    ExpectEnd (Options, Row.End, Row.Line);
  }
}

} // namespace
