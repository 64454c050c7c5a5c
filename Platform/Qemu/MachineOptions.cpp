#include "MachineOptions.h"

#include <fmt/format.h>

#include "HostInterface.h"
#include "InputFile.h"
#include "MemoryMap.h"
#include "VolumeWriter.h"

namespace {

constexpr UINTN MODULE_SIZE_MAX = 16 << 20;

using Words = std::vector<std::string>;

/// A path as the value of an option: commas part options.
std::string
Escaped (const std::filesystem::path &Path)
{
  std::string Text;
  for (const char Character : Path.native ()) {
    Text.append (Character == ',' ? 2 : 1, Character);
  }
  return Text;
}

void
Append (Words &Arguments, const Words &More)
{
  Arguments.insert (Arguments.end (), More.begin (), More.end ());
}

/// Channels to this process: QEMU connects to sockets that listen already.
void
AppendChannels (Words &Arguments, const MachineFiles &Files)
{
  Append (Arguments, {"-serial", "file:" + Files.RasLog.string ()});
  Append (Arguments, {"-chardev", "socket,id=control,path=" + Escaped (Files.Control), "-serial",
                      "chardev:control"});
  Append (Arguments, {"-chardev", "socket,id=qmp,path=" + Escaped (Files.Qmp), "-mon",
                      "chardev=qmp,mode=control"});
  Append (Arguments, {"-chardev", "file,id=debug,path=" + Escaped (Files.DebugLog), "-device",
                      fmt::format ("isa-debugcon,iobase=0x{:x},chardev=debug", DebugConsolePort)});
  Append (Arguments,
          {"-device", fmt::format ("isa-debug-exit,iobase=0x{:x},iosize=4", DebugExitPort)});
}

void
AppendPorts (Words &Arguments, UINTN Count)
{
  for (UINTN Number = 1; Number <= Count; ++Number) {
    Append (Arguments,
            {"-device",
             fmt::format ("pcie-root-port,id=rp{0},chassis={0},slot={0},addr={0:x}.0", Number)});
    // There can be one balloon only, and any device of virtio serves.
    Append (Arguments,
            {"-device", fmt::format ("{1},bus=rp{0},aer=on,disable-legacy=on,id=nv{0}", Number,
                                     Number == 1 ? "virtio-balloon-pci" : "virtio-rng-pci")});
  }
}

void
AppendBmc (Words &Arguments, const MachineOptions &Options)
{
  switch (Options.Bmc) {
  case BmcConnection::None:
    return;
  case BmcConnection::Simulated:
    Append (Arguments, {"-device", "ipmi-bmc-sim,id=bmc0"});
    break;
  case BmcConnection::External:
    // A socket without reconnect, or one that listens, makes this QEMU crash.
    Append (Arguments, {"-chardev",
                        fmt::format ("socket,id=ipmi0,{},reconnect=1",
                                     Options.BmcPort == 0
                                         ? "path=" + Escaped (Options.BmcSocket)
                                         : fmt::format ("host=127.0.0.1,port={}", Options.BmcPort)),
                        "-device", "ipmi-bmc-extern,chardev=ipmi0,id=bmc0"});
    break;
  }
  Append (Arguments, {"-device", "isa-ipmi-kcs,bmc=bmc0"});
}

void
AppendSettings (Words &Arguments,
                const MachineOptions &Options,
                const MachineFiles &Files,
                UINTN VolumeSize)
{
  const auto Set = [&] (const char *Name, const std::string &Value) {
    Append (Arguments, {"-fw_cfg", fmt::format ("name={},{}", Name, Value)});
  };
  if (VolumeSize != 0) {
    Append (Arguments, {"-device", fmt::format ("loader,file={},addr=0x{:x},force-raw=on",
                                                Escaped (Files.Volume), VOLUME_BASE)});
    Set (VolumeSizeFile, fmt::format ("string={}", VolumeSize));
  }
  if (Options.LogLevels) {
    Set (LogLevelsFile, fmt::format ("string={:x}", *Options.LogLevels));
  }
  if (Options.IsQuiet) {
    Set (QuietFile, "string=1");
  }
  if (!Options.Inventory.empty ()) {
    Set (InventoryFile, "file=" + Escaped (Files.Inventory));
  }
}

} // namespace

MachineFiles
FilesIn (const std::filesystem::path &Directory)
{
  return {.RasLog = Directory / "ras.log",
          .DebugLog = Directory / "debug.log",
          .Control = Directory / "control",
          .Qmp = Directory / "qmp",
          .Inventory = Directory / "inventory.txt",
          .Volume = Directory / "modules.fv",
          .Errors = Directory / "qemu.log",
          .Command = Directory / "qemu.sh"};
}

std::string
MachineInventory (const MachineOptions &Options)
{
  std::string Text;
  const UINT64 Size = RAM_SIZE / Options.SocketCount;
  for (UINTN Socket = 0; Socket < Options.SocketCount; ++Socket) {
    Text += fmt::format ("processor {0} CPU{0}\nmemory {0} 0 0 CPU{0}_C0_D0 {1:x} {2:x}\n", Socket,
                         Socket * Size, Size);
  }
  for (UINTN Number = 1; Number <= Options.PortCount; ++Number) {
    Text += fmt::format ("slot {0} Slot{0}\n", Number);
  }
  return Text;
}

std::vector<UINT8>
MachineVolume (const MachineOptions &Options)
{
  std::vector<FirmwareBytes> Files;
  for (const std::filesystem::path &Path : Options.Modules) {
    const std::string Text = ReadInputFile (Path, MODULE_SIZE_MAX);
    Files.emplace_back (Text.begin (), Text.end ());
    if (Files.back ().size () < sizeof (EFI_FFS_FILE_HEADER)) {
      throw InputError (Path.string () + ": expected a firmware file");
    }
  }
  if (Files.empty ()) {
    return {};
  }
  for (UINTN Number = 1; Number < Options.DriverCount; ++Number) {
    EFI_GUID Name = reinterpret_cast<const EFI_FFS_FILE_HEADER *> (Files.front ().data ())->Name;
    Name.Data1 += static_cast<UINT32> (Number);
    Files.push_back (Files.front ());
    RenameFile (Files.back (), Name);
  }
  return MakeVolume (Files);
}

std::vector<std::string>
MachineArguments (const MachineOptions &Options, const MachineFiles &Files, UINTN VolumeSize)
{
  Words Arguments = {"qemu-system-x86_64", "-nodefaults", "-no-user-config",
                     "-display",           "none",        "-no-reboot"};
  Append (Arguments, {"-machine", "q35,smm=on,accel=tcg,vmport=off", "-m",
                      fmt::format ("{}M", RAM_SIZE >> 20)});
  Append (Arguments,
          {"-cpu", Options.Cpu, "-smp",
           fmt::format ("{},sockets={},threads=1", Options.ProcessorCount, Options.SocketCount)});
  // The ROM is the only one: this option of QEMU's own accelerator would bring another.
  Append (Arguments, {"-bios", Options.Rom.string (), "-global", "apic.vapic=off"});
  AppendChannels (Arguments, Files);
  AppendPorts (Arguments, Options.PortCount);
  AppendBmc (Arguments, Options);
  AppendSettings (Arguments, Options, Files, VolumeSize);
  if (Options.CountsInstructions) {
    Append (Arguments, {"-icount", "shift=0,sleep=off"});
  }
  if (!Options.GdbServer.empty ()) {
    Append (Arguments, {"-gdb", Options.GdbServer});
  }
  if (Options.IsStopped) {
    Append (Arguments, {"-S"});
  }
  Append (Arguments, Options.Extra);
  return Arguments;
}
