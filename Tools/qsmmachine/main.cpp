#include "Qsmmachine.h"
#include "ToolRun.h"

int
main (int ArgumentCount, char **Arguments)
{
  Console Console = ProcessConsole ();
  return QsmmachineMain (ArgumentCount, Arguments, Console);
}
