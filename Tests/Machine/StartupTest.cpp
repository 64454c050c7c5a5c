/// From reset to the end of the boot, and what lies in SMRAM then.
#include "TestMachine.h"

#include <algorithm>
#include <array>
#include <fstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "BuiltImage.h"
#include "ImageLoader.h"
#include "LocalSocket.h"
#include "MemoryMap.h"
#include "Record/IioTopologyStore.h"
#include "Record/Inventory.h"

namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

using Bytes = std::vector<UINT8>;

TEST (MachineStartup, TellsTheDebugLog)
{
  TestMachine Run;
  Run.Machine.WaitUntilReady ();
  EXPECT_THAT (
      LinesWith (Run.Machine.DebugLog (), "smm"),
      ElementsAre ("smm: the first processor is in SMM",
                   MatchesRegex ("smm: module 0 at 0xFC00000, [0-9]+ bytes: SystemInventory"),
                   "smm: module 0 resident",
                   MatchesRegex ("smm: module 1 at 0xFC03000, [0-9]+ bytes: "
                                 "VelmoraQsmErrorHandler"),
                   "smm 0: 00000040 VelmoraQsmErrorHandler: Building data for SysHostPointerLib",
                   "smm 0: 00000040 Inside ORVQsmErrorHandler EntryPoint",
                   "smm 0: 00000040 RegisterErrorListener (QsmLogErrorWrapper ) Status: Success ",
                   "smm: module 1 resident",
                   "smm 0: 00000040 VelmoraQsmErrorHandler: Sanitizing non-SMRAM pointers in "
                   "SysHostPointerLib",
                   "smm 0: 00000040 VelmoraQsmErrorHandler: Done sanitizing non-SMRAM pointers",
                   MatchesRegex ("smm: ready to lock; checksum [0-9A-F]{16}, 11 pool blocks")));
  EXPECT_EQ (Run.Machine.Exit (21), 21);
}

/// The driver's place behind the module that it waits for.
constexpr UINT64 DriverBase = SMM_DRIVERS_BASE + 0x3000;

TEST (MachineStartup, LocksTheVeryBytesOfTheFileIntoSmram)
{
  const Bytes File = ReadBuiltFile (ImageName);
  ImageFile Image;
  ASSERT_EQ (OpenImage (File.data (), File.size (), Image), nullptr);
  const UINT64 Size = Image.Headers->ImageSize;
  Bytes Placed (Size);
  ASSERT_EQ (PlaceImage (Image, Placed.data (), DriverBase), nullptr);

  TestMachine Run;
  Run.Machine.WaitUntilReady ();
  const Bytes Volume = MachineVolume (Run.Options);
  EXPECT_EQ (Run.ReadMemory (VOLUME_BASE, Volume.size ()), Volume) << "what the machine was given";
  EXPECT_NE (std::search (Volume.begin (), Volume.end (), File.begin (), File.end ()),
             Volume.end ())
      << "what is delivered";
  EXPECT_EQ (Run.ReadMemory (TSEG_BASE, TSEG_SIZE), Bytes (TSEG_SIZE, 0xFF)) << "from outside";
  Run.StopInSmm ();
  EXPECT_EQ (Run.ReadSmram (SMM_VOLUME_BASE, Volume.size ()), Volume) << "what was loaded";
  const Bytes Driver = Run.ReadSmram (DriverBase, Size);
  for (UINTN Index = 0; Index < Image.Headers->SectionCount; ++Index) {
    const SectionHeader &Section = Image.Sections[Index];
    if ((Section.Characteristics & PE_SECTION_WRITE) == 0) {
      SCOPED_TRACE (Section.Address);
      const auto At = static_cast<std::ptrdiff_t> (Section.Address);
      EXPECT_TRUE (std::equal (Driver.begin () + At, Driver.begin () + At + Section.MemorySize,
                               Placed.begin () + At))
          << "what runs";
    }
  }
}

TEST (MachineStartup, LeavesWritableWhatIsWrittenOnly)
{
  using Table = std::array<UINT64, 512>;
  MachineOptions Options = UsualMachine ();
  Options.ProcessorCount = Options.SocketCount = 1;
  TestMachine Run (Options);
  Run.Machine.WaitUntilReady ();
  Run.StopInSmm ();
  const auto TableOf = [&] (UINT64 Entry) {
    Table Entries = {};
    const Bytes Read = Run.ReadSmram (Entry & 0xFFFFFFFFFF000, sizeof Entries);
    std::ranges::copy (Read, reinterpret_cast<UINT8 *> (Entries.data ()));
    return Entries;
  };
  const std::string Registers = Run.Machine.ExecuteHuman ("info registers");
  const UINT64 Root = std::stoull (Registers.substr (Registers.find ("CR3=") + 4), nullptr, 16);
  const Table Directory = TableOf (TableOf (TableOf (Root)[0])[0]);
  std::string Writable;
  bool IsOpen = false;
  for (UINT64 Large = TSEG_BASE; Large < TSEG_BASE + TSEG_SIZE; Large += 0x200000) {
    UINT64 Page = Large;
    for (const UINT64 Entry : TableOf (Directory[Large / 0x200000])) {
      if (((Entry & 3) == 3) != IsOpen) {
        IsOpen = !IsOpen;
        Writable += fmt::format ("{:X}{}", Page, IsOpen ? "-" : " ");
      }
      Page += 0x1000;
    }
  }
  // Stacks, save state, .working of the SMM image, the driver's data, and the pool to its end.
  EXPECT_THAT (Writable, MatchesRegex ("F801000-F808000 F80F000-F810000 F9[0-9A-F]*-F9[0-9A-F]* "
                                       "FC0[0-9A-F]000-FC0[0-9A-F]000 FE00000-"));
}

TEST (MachineStartup, LeavesTheBusNumbersOfTheBridgesInTheStore)
{
  TestMachine Run (MachineWithSwitch ());
  Run.Machine.WaitUntilReady ();
  // As the emulator knows them.
  std::vector<std::string> Bridges;
  const nlohmann::json Root = Run.Machine.Execute ("query-pci")[0];
  for (const auto &Device : Root["devices"]) {
    if (Device.contains ("pci_bridge")) {
      const auto &Bus = Device["pci_bridge"]["bus"];
      Bridges.push_back (fmt::format ("1 {} {} {} {} {}", Device["bus"].get<int> (),
                                      Device["slot"].get<int> (), Device["function"].get<int> (),
                                      Bus["secondary"].get<int> (),
                                      Bus["subordinate"].get<int> ()));
    }
  }
  EXPECT_THAT (Bridges, ElementsAre ("1 0 1 0 1 1", "1 0 2 0 2 2", "1 0 3 0 3 5"));

  Run.StopInSmm ();
  const Bytes Pointer = Run.ReadSmram (DriverCode (DriverBase).Find ("mIioTopology"), 8);
  UINT64 Address = 0;
  std::copy (Pointer.begin (), Pointer.end (), reinterpret_cast<UINT8 *> (&Address));
  const Bytes Store = Run.ReadSmram (Address, sizeof (IioTopologyStore));
  const auto &Sockets = reinterpret_cast<const IioTopologyStore *> (Store.data ())->Socket;
  std::vector<std::string> Ports;
  for (const IioTopologySocket &Socket : Sockets) {
    for (const IioTopologyPort &Port : Socket.Port) {
      if (Port.Valid != 0) {
        Ports.push_back (fmt::format ("{} {} {} {} {} {}", Port.Valid, Port.Bus, Port.Device,
                                      Port.Function, Port.SecondaryBus, Port.SubordinateBus));
      }
    }
  }
  EXPECT_EQ (Ports, Bridges);
}

} // namespace
