#include "EmulatedMachine.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include "HostInterface.h"
#include "LocalSocket.h"
#include "MachineReport.h"

namespace {

/// What a failure shows of a log.
constexpr std::size_t TAIL_SIZE = 2000;

std::string
FileText (const std::filesystem::path &File)
{
  std::ostringstream Text;
  Text << std::ifstream (File, std::ios::binary).rdbuf ();
  return Text.str ();
}

/// The last lines of a file below a heading; nothing if it is empty.
std::string
TailText (const char *Heading, const std::filesystem::path &File)
{
  const std::string Text = FileText (File);
  if (Text.empty ()) {
    return {};
  }
  return fmt::format ("{}:\n{}{}", Heading,
                      Text.substr (Text.size () - std::min (Text.size (), TAIL_SIZE)),
                      Text.back () == '\n' ? "" : "\n");
}

void
WriteFile (const std::filesystem::path &File, std::string_view Content)
{
  if (!(std::ofstream (File, std::ios::binary) << Content).flush ()) {
    throw MachineError (fmt::format ("{}: cannot be written", File.string ()));
  }
}

/// A write to the exit port always gives an odd code.
bool
IsWrittenEnd (int Status)
{
  return WIFEXITED (Status) && WEXITSTATUS (Status) % 2 != 0;
}

/// "exit code 5, an exception".
std::string
StatusText (int Status)
{
  return ChildStatusText (Status) +
         (IsWrittenEnd (Status) ? ", " + EndText (WEXITSTATUS (Status) / 2) : "");
}

/// The words as a shell reads them.
std::string
CommandText (const std::vector<std::string> &Words)
{
  std::string Text;
  for (const std::string &Word : Words) {
    Text += Text.empty () ? "'" : " '";
    for (const char Character : Word) {
      Text += Character == '\'' ? "'\\''" : std::string (1, Character);
    }
    Text += '\'';
  }
  return Text + '\n';
}

} // namespace

EmulatedMachine::EmulatedMachine (const MachineOptions &Given)
    : Options (Given), Files (FilesIn (Given.Directory))
{
  const std::vector<UINT8> Volume = MachineVolume (Options);
  WriteFile (Files.Inventory, Options.Inventory);
  WriteFile (Files.Volume, {reinterpret_cast<const char *> (Volume.data ()), Volume.size ()});
  const auto Arguments = MachineArguments (Options, Files, Volume.size ());
  WriteFile (Files.Command, CommandText (Arguments));
  const FileDescriptor ControlListener = ListenAt (Files.Control);
  const FileDescriptor QmpListener = ListenAt (Files.Qmp);
  const FileDescriptor Errors (
      open (Files.Errors.c_str (), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600));
  if (!Errors.IsOpen ()) {
    throw MachineError (fmt::format ("{}: {}", Files.Errors.string (), std::strerror (errno)));
  }
  Qemu = std::make_unique<ChildProcess> (
      Arguments, ChildStreams{.Output = Errors.Get (), .Error = Errors.Get ()});
  Guard ("start", [&] {
    Control = LineChannel (Accept (ControlListener), Options.Patience);
    Monitor = QmpClient (LineChannel (Accept (QmpListener), Options.Patience));
  });
}

EmulatedMachine::~EmulatedMachine () = default;

void
EmulatedMachine::WaitUntilReady ()
{
  Guard ("boot", [&] {
    const std::string Line = Control.ReadLine ();
    if (Line != ControlReady) {
      throw MachineError (fmt::format ("expected \"{}\", found \"{}\"", ControlReady, Line));
    }
  });
}

std::vector<std::string>
EmulatedMachine::Command (const std::string &Line)
{
  return Guard (Line, [&] {
    Control.WriteLine (Line);
    std::vector<std::string> Answer;
    for (;;) {
      Answer.push_back (Control.ReadLine ());
      if (Answer.back () == ControlDone) {
        Answer.pop_back ();
        return Answer;
      }
      if (Answer.back ().starts_with (ControlError)) {
        throw MachineError (Answer.back ());
      }
    }
  });
}

MachineState
EmulatedMachine::State ()
{
  const std::vector<std::string> Lines = Command ("state");
  return Guard ("state", [&] {
    MachineState State = {};
    int Known = 0;
    for (const std::string &Line : Lines) {
      SmiTimes Smi = {};
      if (std::sscanf (Line.c_str (), "cpu %*u smi %llu last %llu min %llu max %llu", &Smi.Count,
                       &Smi.Last, &Smi.Shortest, &Smi.Longest) == 4) {
        State.Processors.push_back (Smi);
      } else {
        Known += std::sscanf (Line.c_str (), "pool %llu blocks %llu bytes", &State.PoolBlocks,
                              &State.PoolBytes);
        Known += std::sscanf (Line.c_str (), "checksum %llx at ready %llx now",
                              &State.ChecksumAtReady, &State.ChecksumNow);
      }
    }
    if (Known != 4 || State.Processors.size () != Options.ProcessorCount) {
      throw MachineError (fmt::format ("unexpected answer:\n{}", fmt::join (Lines, "\n")));
    }
    return State;
  });
}

void
EmulatedMachine::InjectPcieError (const std::string &Device,
                                  const std::string &Name,
                                  bool IsCorrected)
{
  Inject (fmt::format ("pcie_aer_inject_error {}{} {}", IsCorrected ? "-c " : "", Device, Name),
          "OK ");
}

void
EmulatedMachine::InjectMachineCheck (
    UINTN Processor, UINTN Bank, UINT64 Status, UINT64 McgStatus, UINT64 Address, UINT64 Misc)
{
  Inject (fmt::format ("mce {} {} 0x{:x} 0x{:x} 0x{:x} 0x{:x}", Processor, Bank, Status, McgStatus,
                       Address, Misc),
          "");
}

/// Injects by the human monitor, whose answer begins with Expected or, if that is empty, is empty.
void
EmulatedMachine::Inject (const std::string &Line, const std::string &Expected)
{
  Guard (Line, [&] {
    std::string Answer = Monitor.ExecuteHuman (Line);
    if (Expected.empty () ? !Answer.empty () : !Answer.starts_with (Expected)) {
      throw MachineError (Answer);
    }
  });
}

nlohmann::json
EmulatedMachine::Execute (const std::string &Command, const nlohmann::json &Arguments)
{
  return Guard (Command, [&] { return Monitor.Execute (Command, Arguments); });
}

std::string
EmulatedMachine::ExecuteHuman (const std::string &Line)
{
  return Guard (Line, [&] { return Monitor.ExecuteHuman (Line); });
}

int
EmulatedMachine::Exit (int Number)
{
  Guard ("exit", [&] { Control.WriteLine (fmt::format ("exit {}", Number)); });
  return WaitForEnd ();
}

int
EmulatedMachine::WaitForEnd ()
{
  const auto Status = Qemu->WaitForEnd (Deadline (Options.Patience));
  if (!Status) {
    Fail ("end", fmt::format ("the machine still runs after {} ms", Options.Patience.count ()));
  }
  if (!IsWrittenEnd (*Status)) {
    Fail ("end", WIFEXITED (*Status) && WEXITSTATUS (*Status) == 0
                     ? "the machine reset itself: a triple fault"
                     : "QEMU ended with " + ChildStatusText (*Status));
  }
  return WEXITSTATUS (*Status) / 2;
}

std::string
EmulatedMachine::RasLog () const
{
  return FileText (Files.RasLog);
}

std::string
EmulatedMachine::DebugLog () const
{
  return FileText (Files.DebugLog);
}

FileDescriptor
EmulatedMachine::Accept (const FileDescriptor &Listener)
{
  pollfd Waited[] = {{.fd = Listener.Get (), .events = POLLIN, .revents = 0},
                     {.fd = Qemu->EndDescriptor (), .events = POLLIN, .revents = 0}};
  if (!Deadline (Options.Patience).WaitFor (Waited)) {
    throw MachineError ("QEMU does not connect");
  }
  if (Waited[0].revents == 0) {
    throw MachineError ("QEMU does not run");
  }
  FileDescriptor Connection (accept4 (Listener.Get (), nullptr, nullptr, SOCK_CLOEXEC));
  if (!Connection.IsOpen ()) {
    throw MachineError (fmt::format ("QEMU does not connect: {}", std::strerror (errno)));
  }
  return Connection;
}

void
EmulatedMachine::Fail (const std::string &Step, const std::string &Reason)
{
  // A machine that ends closes its channels first. The moment tells the two failures apart.
  constexpr std::chrono::milliseconds Moment (200);
  const auto Status = Qemu->WaitForEnd (Deadline (Moment));
  const CodeMap Code = MachineCode (Options, DebugLog ());
  std::string Processors;
  if (Status) {
    Processors = ExceptionLine (DebugLog (), Code);
  } else {
    try {
      Processors = ProcessorLines (Monitor.ExecuteHuman ("info registers -a"), Code);
    } catch (const MachineError &Error) {
      Processors = fmt::format ("QEMU does not tell: {}\n", Error.what ());
    }
  }
  throw MachineFailure (
      fmt::format ("{}: {}{}{}", Step, Reason,
                   Status ? "; QEMU has ended: " + StatusText (*Status) : "",
                   LastLineText (DebugLog ())),
      Processors,
      TailText ("QEMU says", Files.Errors) + TailText ("the debug log ends with", Files.DebugLog) +
          TailText ("the RAS log ends with", Files.RasLog) +
          fmt::format ("the directory of the run: {}\n", Options.Directory.string ()));
}
