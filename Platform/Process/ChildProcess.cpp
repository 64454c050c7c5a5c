#include "ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "MachineError.h"

namespace {

struct Pipe {
  FileDescriptor Read, Write;
};

Pipe
OpenPipe ()
{
  std::array<int, 2> Ends = {};
  if (pipe2 (Ends.data (), O_CLOEXEC) != 0) {
    throw MachineError (fmt::format ("no pipe: {}", std::strerror (errno)));
  }
  return {FileDescriptor (Ends[0]), FileDescriptor (Ends[1])};
}

/// Puts Descriptor, or /dev/null, in the place of a standard stream of the child.
bool
Redirect (int Descriptor, int Stream)
{
  const int Source = Descriptor >= 0 ? Descriptor : open ("/dev/null", O_RDWR | O_CLOEXEC);
  return Source == Stream ? fcntl (Stream, F_SETFD, 0) == 0 : dup2 (Source, Stream) == Stream;
}

/// The child's part: becomes the program, or tells the parent by errno why not. Runs in a copy of
/// the parent, in which only system calls are safe.
[[noreturn]] void
Become (
    char *const *Arguments, const ChildStreams &Streams, pid_t Parent, const Pipe &End, int Told)
{
  // A parent that has ended meanwhile sends no signal any more.
  if (prctl (PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid () == Parent &&
      Redirect (Streams.Input, STDIN_FILENO) && Redirect (Streams.Output, STDOUT_FILENO) &&
      Redirect (Streams.Error, STDERR_FILENO) && fcntl (End.Write.Get (), F_SETFD, 0) == 0) {
    execvp (Arguments[0], Arguments);
  }
  const int Reason = errno;
  static_cast<void> (!write (Told, &Reason, sizeof (Reason)));
  _exit (127);
}

} // namespace

ChildProcess::ChildProcess (const std::vector<std::string> &Arguments, const ChildStreams &Streams)
{
  std::vector<char *> Pointers;
  Pointers.reserve (Arguments.size () + 1);
  for (const std::string &Argument : Arguments) {
    Pointers.push_back (const_cast<char *> (Argument.c_str ()));
  }
  Pointers.push_back (nullptr);
  Pipe Ending = OpenPipe ();
  Pipe Failure = OpenPipe ();
  const pid_t Parent = getpid ();
  ProcessId = fork ();
  if (ProcessId == 0) {
    Become (Pointers.data (), Streams, Parent, Ending, Failure.Write.Get ());
  }
  End = std::move (Ending.Read);
  Failure.Write.Close ();
  int Reason = ProcessId < 0 ? errno : 0;
  // The pipe closes unused when the child becomes the program.
  if (ProcessId < 0 || read (Failure.Read.Get (), &Reason, sizeof (Reason)) > 0) {
    if (ProcessId > 0) {
      waitpid (ProcessId, nullptr, 0);
    }
    throw MachineError (
        fmt::format ("{}: cannot be started: {}", Arguments[0], std::strerror (Reason)));
  }
}

ChildProcess::~ChildProcess ()
{
  if (!Status) {
    kill (ProcessId, SIGKILL);
    waitpid (ProcessId, nullptr, 0);
  }
}

void
ChildProcess::Signal (int Number) const
{
  if (!Status) {
    kill (ProcessId, Number);
  }
}

std::optional<int>
ChildProcess::WaitForEnd (const Deadline &Until)
{
  pollfd Waited = {.fd = End.Get (), .events = POLLIN, .revents = 0};
  if (!Status && Until.WaitFor ({&Waited, 1})) {
    int Value = 0;
    waitpid (ProcessId, &Value, 0);
    Status = Value;
  }
  return Status;
}

std::string
ChildStatusText (int Status)
{
  return WIFEXITED (Status) ? fmt::format ("exit code {}", WEXITSTATUS (Status))
                            : fmt::format ("signal {}", WTERMSIG (Status));
}
