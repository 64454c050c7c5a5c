#include "IioTopologyLibInternal.h"
#include "RasDebugLib.h"

namespace {

constexpr AssertionSite StoreBound = {IioTopologySourceFile, 241, "mIioTopology"};

VOID
DumpPorts (const IioTopologySocket &Of, UINTN Socket)
{
  RasDebugPrint (RAS_DEBUG_FLOW, "SktId = 0x%x, MaxPort 0x%x\n", Socket, Of.MaxPort);
  for (UINTN Index = 0; Index < PortBound (Of); ++Index) {
    const IioTopologyPort &Port = Of.Port[Index];
    if (Port.Valid != 0) {
      RasDebugPrint (RAS_DEBUG_FLOW,
                     "SktId = 0x%x,Port = 0x%x, Bus = 0x%x,Device = 0x%x,Function = 0x%x \n",
                     Socket, Index, Port.Bus, Port.Device, Port.Function);
    }
  }
}

VOID
DumpStacks (const IioTopologySocket &Of, UINTN Socket)
{
  for (UINTN Stack = 0; Stack < IIO_STACK_MAX; ++Stack) {
    if (Of.Stack[Stack].Present != 0) {
      RasDebugPrint (RAS_DEBUG_FLOW, "SktId = 0x%x,IioStack = 0x%x \n", Socket, Stack);
    }
  }
}

} // namespace

VOID
DumpIioTopology ()
{
  RasDebugPrint (RAS_DEBUG_FLOW, "DumpIioTopology \n");
  ASSERT (mIioTopology != nullptr, StoreBound);
  if (mIioTopology == nullptr) {
    return;
  }
  for (UINTN Socket = 0; Socket < SOCKET_MAX; ++Socket) {
    if (mIioTopology->Socket[Socket].Valid == TRUE) {
      DumpPorts (mIioTopology->Socket[Socket], Socket);
    }
  }
  for (UINTN Socket = 0; Socket < SOCKET_MAX; ++Socket) {
    DumpStacks (mIioTopology->Socket[Socket], Socket);
  }
}
