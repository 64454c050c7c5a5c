#include "CxlIpLib.h"
#include "DxeSmmStandaloneMmHobLib.h"
#include "IioTopologyLibInternal.h"
#include "RasDebugLib.h"
#include "Record/IioSiPolicy.h"
#include "SystemInfoLib.h"
#include "UpiHostDataLib.h"

namespace {

constexpr SourceSite PolicyHobFound = {IioTopologySourceFile, 116};
constexpr SourceSite MaxPortInRange = {IioTopologySourceFile, 153};

/// What the store is built from; all of it is only read.
struct Sources {
  const IioSiPolicy *Policy;
  const UpiHostRecord *UpiHost;
};

bool
HasBit (UINT32 Bitmap, UINT8 Bit)
{
  return (Bitmap >> Bit & 1) != 0;
}

bool
IsCxlReady (const UpiHostRecord *UpiHost, UINT8 Socket, UINT8 Stack)
{
  return Stack < CXL_STACK_MAX &&
         (UpiHost->CxlStack[Socket][Stack].Status & CXL_STATUS_READY) == CXL_STATUS_READY;
}

/// Fills the entry of a stack, whether the stack is present or not.
VOID
BuildStack (IioTopologyStack *To, const Sources &From, UINT8 Socket, UINT8 Stack)
{
  To->Present = HasBit (From.Policy->StackBitmap[Socket], Stack);
  To->PolicyStackByte20082 = From.Policy->PolicyStackByte20082[Socket][Stack];
  To->PolicyStackByte20178 = From.Policy->PolicyStackByte20178[Socket][Stack];
  To->UpiStackDword39 = From.UpiHost->Socket[Socket].Stack[Stack].UpiStackDword39;
  To->CxlReady = IsCxlReady (From.UpiHost, Socket, Stack);
  if (To->CxlReady) {
    To->CxlRcrbAllOnes = CxlRcrbReadsAllOnes (Socket, Stack);
  }
}

/// Fills the port entries of a socket without holes. Without a usable number of ports, by which the
/// policy finds the ports of each socket too, the socket has none.
VOID
BuildPorts (IioTopologySocket *To, const IioSiPolicy *Policy, UINT8 Socket)
{
  // One read: the policy lies outside SMRAM.
  const UINT8 MaxPort = Policy->MaxPort[Socket];
  To->MaxPort = MaxPort;
  RAS_ASSERT (MaxPort <= IIO_PORT_MAX, MaxPortInRange);
  if (MaxPort > IIO_PORT_MAX) {
    To->MaxPort = 0;
    return;
  }

  IioTopologyPort *Next = To->Port;
  for (UINTN Port = 0; Port < MaxPort; ++Port) {
    if (!IioPolicyPortExists (Policy, Socket, MaxPort, Port)) {
      continue;
    }
    Next->Bus = Policy->PortBus[Socket][Port];
    Next->Device = Policy->Port[Port].Device;
    Next->Function = Policy->Port[Port].Function;
    Next->Valid = TRUE;
    ++Next;
  }
}

/// Copies what the system information record has of a socket. The constructor that binds the record
/// may have failed.
VOID
CopySystemInfo (IioTopologySocket *To, UINT8 Socket)
{
  if (mSystemInfoRecord == nullptr) {
    return;
  }
  To->SysInfoByte286 = mSystemInfoRecord->SysInfoByte286[Socket];
  To->SysInfoDword424 = mSystemInfoRecord->Socket[Socket].SysInfoDword424;
  To->SysInfoByte294 = mSystemInfoRecord->SysInfoByte294[Socket];
}

VOID
BuildSocket (IioTopologySocket *To, const Sources &From, UINT8 Socket)
{
  To->Valid = FALSE;
  if (!HasBit (From.UpiHost->SocketBitmap, Socket)) {
    return;
  }
  To->UpiSocketByte71 = From.UpiHost->Socket[Socket].UpiSocketByte71;
  To->Valid = TRUE;
  To->UpiSocketByte69 = From.UpiHost->Socket[Socket].UpiSocketByte69;
  for (UINT8 Stack = 0; Stack < IIO_STACK_MAX; ++Stack) {
    BuildStack (&To->Stack[Stack], From, Socket, Stack);
  }
  BuildPorts (To, From.Policy, Socket);
  CopySystemInfo (To, Socket);
}

} // namespace

EFI_STATUS
InitializeIioTopology ()
{
  RasDebugPrint (RAS_DEBUG_FLOW, "InitializeIioTopology!\n");
  const auto *Policy = static_cast<const IioSiPolicy *> (
      DataOfGuidHob (GetFirstGuidHob (&gIioSiPolicyHobGuid)).Start);
  if (Policy == nullptr) {
    RasDebugPrint (RAS_DEBUG_FLOW,
                   "InitializeIioTopology: Failed to get gIioSiPolicyHobGuid Hob!\n");
    RAS_ASSERT (false, PolicyHobFound);
    return EFI_NOT_FOUND;
  }
  const Sources From = {.Policy = Policy, .UpiHost = GetUpiHostRecord ()};
  if (From.UpiHost == nullptr) {
    return EFI_NOT_FOUND;
  }

  for (UINT8 Socket = 0; Socket < SOCKET_MAX; ++Socket) {
    BuildSocket (&mIioTopology->Socket[Socket], From, Socket);
  }
  DumpIioTopology ();
  return EFI_SUCCESS;
}
