/// Runs the print engine against its model on random cases for as long as one likes.
///
///   PrintFuzz [--cases N] [--seed S] [--first N] [--jobs J]
///
/// Splits the cases over J processes. Prints how many were run. Exits with 0 when all agree, with 1
/// at a difference or a crash, whose case it names, and with 2 on bad usage.

#include <getopt.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "PrintFuzzer.h"
#include "SmmDebugServiceLib.h"

VOID EFIAPI
DebugAssert (const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description)
{
  std::fprintf (stderr, "assertion %s:%llu %s\n", FileName, LineNumber, Description);
  std::abort ();
}

namespace {

struct Options {
  UINT64 Cases = 1000000;
  UINT64 Seed = 1;
  UINT64 First = 0;
  UINT64 Jobs = 1;
};

bool
ReadOptions (int Count, char **Arguments, Options &Values)
{
  const option Known[] = {{"cases", required_argument, nullptr, 'c'},
                          {"seed", required_argument, nullptr, 's'},
                          {"first", required_argument, nullptr, 'f'},
                          {"jobs", required_argument, nullptr, 'j'},
                          {nullptr, 0, nullptr, 0}};
  for (int Option; (Option = getopt_long (Count, Arguments, "", Known, nullptr)) != -1;) {
    if (Option == '?') {
      return false;
    }
    char *End = nullptr;
    const UINT64 Value = std::strtoull (optarg, &End, 0);
    if (*optarg == '\0' || *End != '\0') {
      return false;
    }
    (Option == 'c'   ? Values.Cases
     : Option == 's' ? Values.Seed
     : Option == 'f' ? Values.First
                     : Values.Jobs) = Value;
  }
  return optind == Count && Values.Jobs >= 1;
}

} // namespace

int
main (int Count, char **Arguments)
{
  Options Values;
  if (!ReadOptions (Count, Arguments, Values)) {
    std::fprintf (stderr, "usage: PrintFuzz [--cases N] [--seed S] [--first N] [--jobs J]\n");
    return 2;
  }

  const auto Running = static_cast<volatile UINT64 *> (mmap (nullptr, Values.Jobs * sizeof (UINT64),
                                                             PROT_READ | PROT_WRITE,
                                                             MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  std::vector<pid_t> Processes;
  for (UINT64 Job = 0; Job != Values.Jobs; ++Job) {
    const UINT64 Begin = Values.Cases * Job / Values.Jobs;
    const UINT64 End = Values.Cases * (Job + 1) / Values.Jobs;
    const pid_t Process = fork ();
    if (Process == 0) {
      const std::string Problem =
          FuzzPrint (Values.Seed, Values.First + Begin, End - Begin, Running + Job);
      if (!Problem.empty ()) {
        std::fprintf (stderr, "%s\n", Problem.c_str ());
      }
      _exit (Problem.empty () ? 0 : 1);
    }
    Processes.push_back (Process);
  }

  bool AllAgree = true;
  for (UINT64 Job = 0; Job != Values.Jobs; ++Job) {
    int Status = 0;
    waitpid (Processes[Job], &Status, 0);
    if (WIFSIGNALED (Status)) {
      std::fprintf (stderr, "case %llu of seed %llu: signal %d\n", Running[Job], Values.Seed,
                    WTERMSIG (Status));
    }
    AllAgree = AllAgree && WIFEXITED (Status) && WEXITSTATUS (Status) == 0;
  }
  if (!AllAgree) {
    return 1;
  }
  std::printf ("%llu cases of seed %llu agree\n", Values.Cases, Values.Seed);
  return 0;
}
