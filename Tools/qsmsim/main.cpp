#include "Qsmsim.h"
#include "ToolRun.h"

int
main (int ArgumentCount, char **Arguments)
{
  Console Console = ProcessConsole ();
  return QsmsimMain (ArgumentCount, Arguments, Console);
}
