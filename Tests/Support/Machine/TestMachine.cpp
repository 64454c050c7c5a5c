#include "TestMachine.h"

#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include <gtest/gtest.h>

namespace {

MachineOptions
Completed (MachineOptions Options, const std::filesystem::path &Directory)
{
  Options.Directory = Directory;
  Options.BmcSocket = Directory / "bmc";
  if (Options.Inventory.empty ()) {
    Options.Inventory = MachineInventory (Options);
  }
  return Options;
}

std::optional<BmcProcess>
StartBmc (const MachineOptions &Options)
{
  if (Options.Bmc != BmcConnection::External) {
    return std::nullopt;
  }
  return BmcProcess ({.Program = QSM_BMC, .Socket = Options.BmcSocket});
}

/// The bytes between the first three and the last one as text.
std::string
EventText (const BmcEvent &Event)
{
  constexpr std::size_t Head = 9;
  const std::size_t Tail = Event.Bytes.size () - 2;
  std::string Text = Event.Bytes.substr (0, Head);
  for (std::size_t Place = Head; Place < Tail; Place += 3) {
    Text += static_cast<char> (std::stoi (Event.Bytes.substr (Place, 2), nullptr, 16));
  }
  return Text + " " + Event.Bytes.substr (Tail);
}

} // namespace

MachineOptions
UsualMachine ()
{
  return {.Rom = QSM_ROM, .Modules = {QSM_DRIVER, QSM_INVENTORY}, .Bmc = BmcConnection::External};
}

MachineOptions
MachineWithSwitch ()
{
  MachineOptions Options = UsualMachine ();
  Options.Extra = {"-device", "pcie-root-port,id=rp3,chassis=3,slot=3,addr=3.0",
                   "-device", "x3130-upstream,id=up,bus=rp3",
                   "-device", "xio3130-downstream,id=down,bus=up,chassis=4,slot=4",
                   "-device", "virtio-rng-pci,bus=down,aer=on,disable-legacy=on,id=nv3"};
  return Options;
}

TestMachine::TestMachine (const MachineOptions &Given)
    : Options (Completed (Given, Directory.Path ())), Bmc (StartBmc (Options)), Machine (Options)
{
}

TestMachine::RunDirectory::~RunDirectory ()
{
  if (FailureCount () != FailuresBefore || std::uncaught_exceptions () != 0) {
    Keep ();
    std::cerr << "the directory of the run is kept: " << Path ().string () << std::endl;
  }
}

int
TestMachine::FailureCount ()
{
  return testing::UnitTest::GetInstance ()->current_test_info ()->result ()->total_part_count ();
}

std::string
TestMachine::WaitForEvent ()
{
  return Machine.Guard ("event",
                        [&] { return EventText (Bmc->WaitForEvent (Machine.EndDescriptor ())); });
}

std::vector<std::string>
TestMachine::TakeEvents ()
{
  std::vector<std::string> Texts;
  for (const BmcEvent &Event : Machine.Guard ("events", [&] { return Bmc->TakeEvents (); })) {
    Texts.push_back (EventText (Event));
  }
  return Texts;
}

void
TestMachine::StopInSmm ()
{
  // Without an answer the processor polls a million times.
  constexpr int AttemptsMax = 20;
  Bmc->SetMode ("late");
  for (int Attempt = 0; Attempt < AttemptsMax; ++Attempt) {
    Machine.InjectPcieError ("nv1", "MALF_TLP", false);
    WaitForEvent ();
    Machine.Execute ("stop");
    if (Machine.ExecuteHuman ("info registers").find ("SMM=1") != std::string::npos) {
      return;
    }
    Machine.Execute ("cont");
    Bmc->ReleaseAnswer ();
  }
  FAIL () << "the processor was never found in SMM";
}

std::vector<UINT8>
TestMachine::ReadMemory (UINT64 Address, UINT64 Size)
{
  return Save ("pmemsave", Address, Size);
}

std::vector<UINT8>
TestMachine::ReadSmram (UINT64 Address, UINT64 Size)
{
  return Save ("memsave", Address, Size);
}

std::vector<UINT8>
TestMachine::Save (const char *Command, UINT64 Address, UINT64 Size)
{
  const std::filesystem::path Path = Directory.Path () / "memory";
  Machine.Execute (Command, {{"val", Address}, {"size", Size}, {"filename", Path.string ()}});
  std::ifstream File (Path, std::ios::binary);
  return {std::istreambuf_iterator<char> (File), {}};
}

CodeMap
DriverCode (UINT64 Base)
{
  CodeMap Code;
  Code.Add (QSM_IMAGE_MAP, "driver", Base);
  return Code;
}

std::vector<std::string>
LinesWith (const std::string &Text, const std::string &Part)
{
  std::vector<std::string> Lines;
  std::istringstream Stream (Text);
  for (std::string Line; std::getline (Stream, Line);) {
    if (const std::size_t Place = Line.find (Part); Place != std::string::npos) {
      Lines.push_back (Line.substr (Place));
    }
  }
  return Lines;
}
