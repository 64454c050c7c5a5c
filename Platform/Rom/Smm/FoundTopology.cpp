#include "FoundTopology.h"

#include "FoundRecord.h"
#include "HandOffRecords.h"
#include "MachineLog.h"

namespace {

/// The stack that has the root ports; no stack of this machine is CXL.
constexpr UINTN PortStack = 0;

/// Status of a stack's link that is not CXL.
constexpr UINT8 CxlAbsent = 0;

VOID
AddSockets ()
{
  for (UINTN Index = 0; Index < gFound.ProcessorCount; ++Index) {
    const UINT32 Package = gFound.Processors[Index].Package;
    if (Package >= SOCKET_MAX) {
      EndRun (EndMachine, "smm: the machine has more than %ld packages\n", SOCKET_MAX);
    }
    SocketRow &Socket = gTopology.Sockets[Package];
    Socket.Present = TRUE;
    Socket.Stacks[PortStack].Present = TRUE;
    Socket.Stacks[PortStack].CxlStatus = CxlAbsent;
  }
}

VOID
AddPort (const PciFunction &Port)
{
  SocketRow &Socket = gTopology.Sockets[0];
  if (Socket.MaxPort == IIO_PORT_MAX) {
    EndRun (EndMachine, "smm: the machine has more than %ld root ports\n", IIO_PORT_MAX);
  }
  const UINTN Number = Socket.MaxPort++;
  Socket.Ports[Number] = {.Exists = TRUE, .Bus = Port.Bus};
  gTopology.Places[Number] = {.Device = Port.Device, .Function = Port.Function};
}

} // namespace

VOID
UseFoundTopology ()
{
  gTopology = {};
  AddSockets ();
  for (UINTN Index = 0; Index < gFound.PciFunctionCount; ++Index) {
    if (gFound.PciFunctions[Index].IsRootPort != 0) {
      AddPort (gFound.PciFunctions[Index]);
    }
  }
  HandOffRecordsFill ();
}
