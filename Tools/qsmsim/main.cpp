#include <csignal>
#include <iostream>

#include <unistd.h>

#include "Qsmsim.h"

int
main (int ArgumentCount, char **Arguments)
{
  // A closed pipe then shows as a failed write, which is reported like any other.
  std::signal (SIGPIPE, SIG_IGN);
  std::ios::sync_with_stdio (false);
  Console Console = {.Out = std::cout,
                     .Err = std::cerr,
                     .OutIsTerminal = isatty (STDOUT_FILENO) != 0,
                     .ErrIsTerminal = isatty (STDERR_FILENO) != 0};
  return QsmsimMain (ArgumentCount, Arguments, Console);
}
