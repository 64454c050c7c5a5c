#include "Qsmbmc.h"
#include "ToolRun.h"

int
main (int ArgumentCount, char **Arguments)
{
  Console Console = ProcessConsole ();
  return QsmbmcMain (ArgumentCount, Arguments, Console);
}
