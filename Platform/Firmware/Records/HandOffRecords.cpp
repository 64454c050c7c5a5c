#include "HandOffRecords.h"

#include "FirmwareWorld.h"
#include "Guid/RasRcHob.h"
#include "HobList.h"
#include "Protocol/CsrPseudoOffsetTable.h"
#include "Protocol/EmulationConfiguration.h"
#include "ProtocolDatabase.h"
#include "UnknownFields.h"

constinit TopologyRows gTopology = {};
constinit SystemInfoRecord gSystemInfo = {};

namespace {

/// Records that are only looked for or passed on.
constinit UINT8 mClosedRecord[64] = {};

/// A host structure, as far as it is known.
struct HostBlock {
  StaticPointerBlockHeader Header;
  UINT8 Data[44];
};
constinit HostBlock mHostBlock = {};

/// The data of the HOBs of this boot.
constinit IioSiPolicy *mIioPolicy = nullptr;
constinit UpiHostRecord *mUpiHostRecord = nullptr;
constinit StaticPointerHobData *mStaticPointers = nullptr;

/// Leaves a HOB of Size bytes of data and returns them. Each byte is its place's, so that a wrong
/// copy shows.
VOID *
AddHob (const EFI_GUID &Name, UINTN Size)
{
  static constinit UINT8 Data[sizeof (IioSiPolicy)] = {};
  for (UINTN Index = 0; Index < Size; ++Index) {
    Data[Index] = static_cast<UINT8> (Index * 7 + Index / 256 + Name.Data1);
  }
  return HobListAddGuid (&Name, Data, Size) + 1;
}

UINTN
SocketCount ()
{
  UINTN Count = 0;
  for (UINTN Index = 0; Index < gWorld.NumberOfProcessors; ++Index) {
    const UINTN Package = gWorld.PlaceOfProcessor (gWorld.Context, Index).Package;
    Count = Package >= Count ? Package + 1 : Count;
  }
  return Count;
}

VOID
FillStack (UINTN Socket, UINTN Stack, const StackRow &Row)
{
  if (Row.Present) {
    mIioPolicy->StackBitmap[Socket] |= 1U << Stack;
  }
  mIioPolicy->PolicyStackByte20082[Socket][Stack] = Row.PolicyByte20082;
  mIioPolicy->PolicyStackByte20178[Socket][Stack] = Row.PolicyByte20178;
  mUpiHostRecord->Socket[Socket].Stack[Stack].UpiStackDword39 = Row.UpiDword39;
  if (Stack < CXL_STACK_MAX) {
    mUpiHostRecord->CxlStack[Socket][Stack].Status = Row.CxlStatus;
  }
  gSystemInfo.Rcrb[Socket][Stack] = {.Base = Row.RcrbBase, .Valid = Row.RcrbValid};
}

VOID
FillPorts (UINTN Socket, const SocketRow &Row)
{
  mIioPolicy->MaxPort[Socket] = Row.MaxPort;
  for (UINTN Port = 0; Port < IIO_PORT_MAX; ++Port) {
    mIioPolicy->PortBus[Socket][Port] = Row.Ports[Port].Bus;
  }
  for (UINTN Port = 0; Port < KnownPorts (&Row); ++Port) {
    mIioPolicy->PortExists[Socket * Row.MaxPort + Port] = Row.Ports[Port].Exists;
  }
}

VOID
FillSocket (UINTN Socket, const SocketRow &Row)
{
  if (Row.Present) {
    mUpiHostRecord->SocketBitmap |= 1U << Socket;
  }
  mUpiHostRecord->Socket[Socket].UpiSocketByte69 = Row.UpiByte69;
  mUpiHostRecord->Socket[Socket].UpiSocketByte71 = Row.UpiByte71;
  gSystemInfo.SysInfoByte286[Socket] = Row.SysInfoByte286;
  gSystemInfo.SysInfoByte294[Socket] = Row.SysInfoByte294;
  gSystemInfo.PciSegment[Socket] = Row.Segment;
  gSystemInfo.Socket[Socket].SysInfoDword424 = Row.SysInfoDword424;
  mIioPolicy->StackBitmap[Socket] = 0;
  for (UINTN Stack = 0; Stack < IIO_STACK_MAX; ++Stack) {
    FillStack (Socket, Stack, Row.Stacks[Stack]);
  }
  FillPorts (Socket, Row);
}

/// Leaves the pointers of the earlier phases: one to a block that may be copied, and one to a
/// record without a header, which cannot.
VOID
AddStaticPointers ()
{
  mHostBlock.Header = {
      .Signature = gStaticPointerBlockGuid, .Size = sizeof mHostBlock, .Reserved = {}};
  __builtin_memset (mHostBlock.Data, UnknownFieldPattern, sizeof mHostBlock.Data);
  mStaticPointers = static_cast<StaticPointerHobData *> (
      AddHob (gStaticPointerHobGuid, sizeof (StaticPointerHobData)));
  *mStaticPointers = {};
  mStaticPointers->Pointers[SptSysHost] = reinterpret_cast<UINT64> (&mHostBlock);
  mStaticPointers->Pointers[SptMemMapHost] = reinterpret_cast<UINT64> (mClosedRecord);
}

} // namespace

VOID
HandOffRecordsReset ()
{
  AddHob (gUpiFirstRecordHobGuid, sizeof (UpiHostDataBlock::FirstRecord) + UpiHobSurplus);
  mUpiHostRecord = static_cast<UpiHostRecord *> (
      AddHob (gUpiHostRecordHobGuid, sizeof (UpiHostRecord) + UpiHobSurplus));
  AddHob (gUpiThirdRecordHobGuid, sizeof (UpiHostDataBlock::ThirdRecord) + UpiHobSurplus);
  mIioPolicy = static_cast<IioSiPolicy *> (AddHob (gIioSiPolicyHobGuid, sizeof (IioSiPolicy)));
  AddHob (gRasRcPolicyHobGuid, sizeof mClosedRecord);
  AddHob (gRasRcConfigHobGuid, sizeof mClosedRecord);
  AddStaticPointers ();

  __builtin_memset (&gSystemInfo, UnknownFieldPattern, sizeof gSystemInfo);
  __builtin_memset (mClosedRecord, UnknownFieldPattern, sizeof mClosedRecord);
  ProtocolPublish (ProtocolSmm, &gSystemInfoProtocolGuid, &gSystemInfo);
  ProtocolPublish (ProtocolSmm, &gCsrPseudoOffsetTableProtocolGuid, mClosedRecord);
  ProtocolPublish (ProtocolSmm, &gEmulationConfigurationProtocolGuid, mClosedRecord);

  StandardTopology (&gTopology, SocketCount ());
  HandOffRecordsFill ();
}

VOID
HandOffRecordsFill ()
{
  if (ConflictingSocket (&gTopology) < SOCKET_MAX) {
    FirmwareFault ("the policy has one place for ports of two sockets, which differ");
  }
  mUpiHostRecord->SocketBitmap = 0;
  for (UINTN Socket = 0; Socket < SOCKET_MAX; ++Socket) {
    FillSocket (Socket, gTopology.Sockets[Socket]);
  }
  for (UINTN Port = 0; Port < IIO_PORT_MAX; ++Port) {
    mIioPolicy->Port[Port].Device = gTopology.Places[Port].Device;
    mIioPolicy->Port[Port].Function = gTopology.Places[Port].Function;
  }
}

IioSiPolicy *
HandOffIioPolicy ()
{
  return mIioPolicy;
}

StaticPointerHobData *
HandOffStaticPointers ()
{
  return mStaticPointers;
}
