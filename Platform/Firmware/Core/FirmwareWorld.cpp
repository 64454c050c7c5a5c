#include "FirmwareWorld.h"

constinit FirmwareWorld gWorld = {};

VOID
FirmwareFault (const CHAR8 *Text)
{
  gWorld.Fault (gWorld.Context, Text);
  __builtin_trap ();
}
