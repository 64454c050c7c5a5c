#include "CxlIpLib.h"

#include "BaseIoLibIntrinsic.h"
#include "SmmDebugServiceLib.h"
#include "SystemInfoLib.h"

namespace {

constexpr AssertionSite BaseNotZero = {"ServerSiliconPkg/Library/CxlIpLib/CxlIpLib", 2469,
                                       "RcrbBaseAddr != 0"};

/// Distance of the upstream port's RCRB from the downstream port's.
constexpr UINT32 UpstreamRcrbOffset = 0x1000;

} // namespace

UINT64
CxlGetDownstreamRcrbBar (UINT8 Socket, UINT8 Stack)
{
  // The constructor that binds the record may have failed.
  if (mSystemInfoRecord != nullptr && mSystemInfoRecord->Rcrb[Socket][Stack].Valid != 0) {
    return mSystemInfoRecord->Rcrb[Socket][Stack].Base;
  }
  DEBUG (DEBUG_ERROR, "\nWARNING: CXL DP RCRBBAR is 0!!\n");
  return 0;
}

BOOLEAN
CxlRcrbReadsAllOnes (UINT8 Socket, UINT8 Stack)
{
  const auto RcrbBaseAddr = static_cast<UINT32> (CxlGetDownstreamRcrbBar (Socket, Stack));
  ASSERT (RcrbBaseAddr != 0, BaseNotZero);
  if (RcrbBaseAddr == 0) {
    return TRUE;
  }

  const UINT32 Upstream = RcrbBaseAddr + UpstreamRcrbOffset;
  (void)MmioRead32 (Upstream); // What the first read gives does not count.
  return MmioRead32 (Upstream) == AllOnes<UINT32>;
}
