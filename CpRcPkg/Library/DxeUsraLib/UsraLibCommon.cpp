#include "DxeUsraLib.h"

#include "RasDebugLib.h"
#include "SystemInfoLib.h"

namespace {

constexpr AssertionSite ProtocolBound = {"CpRcPkg/Library/DxeUsraLib/UsraLibCommon", 141,
                                         UnreachableAssertionText};

/// The USRA protocol; null until its first use.
constinit UsraProtocol *mUsra = nullptr;

} // namespace

VOID *
MmPciAddressExt (UINT32 Socket, UINT8 Bus, UINT8 Device, UINT8 Function, UINT32 Offset)
{
  if (Socket >= SOCKET_MAX) {
    RasDebugPrint (RAS_DEBUG_FAILURE, "MmPciAddressExt - Socket %x is invalid !!!", Socket);
    return nullptr;
  }
  // The constructor that binds the record may have failed. Without it the segment would be a guess,
  // and the register one of another socket.
  if (mSystemInfoRecord == nullptr) {
    return nullptr;
  }

  const UsraPcieAddress Address = {.Location = PcieLocation (Bus, Device, Function, Offset),
                                   .Segment = mSystemInfoRecord->PciSegment[Socket],
                                   .Reserved = {}};
  if (mUsra != nullptr) {
    return mUsra->UsraGetAddress (&Address);
  }
  VOID *Register = nullptr;
  // A caller tells by the register.
  (void)UsraAddressFirstCall (&Address, &Register);
  return Register;
}

EFI_STATUS
UsraAddressFirstCall (const UsraPcieAddress *Address, VOID **Register)
{
  *Register = nullptr;
  mUsra = UsraLocate ();
  if (mUsra == nullptr) {
    ASSERT (false, ProtocolBound);
    return EFI_DEVICE_ERROR;
  }
  *Register = mUsra->UsraGetAddress (Address);
  return EFI_SUCCESS;
}
