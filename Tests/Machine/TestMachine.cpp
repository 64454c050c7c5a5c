#include "TestMachine.h"

#include <sstream>

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
  return {.Rom = QSM_ROM, .Driver = QSM_IMAGE, .Bmc = BmcConnection::External};
}

TestMachine::TestMachine (const MachineOptions &Given)
    : Options (Completed (Given, Directory.Path ())), Bmc (StartBmc (Options)), Machine (Options)
{
}

std::string
TestMachine::WaitForEvent ()
{
  return EventText (Bmc->WaitForEvent ());
}

std::vector<std::string>
TestMachine::TakeEvents ()
{
  std::vector<std::string> Texts;
  for (const BmcEvent &Event : Bmc->TakeEvents ()) {
    Texts.push_back (EventText (Event));
  }
  return Texts;
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
