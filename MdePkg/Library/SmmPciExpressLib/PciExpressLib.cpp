#include "SmmPciExpressLib.h"

#include "BaseIoLibIntrinsic.h"
#include "DxePcdLib.h"
#include "Machine.h"
#include "SmmDebugServiceLib.h"

namespace {

constexpr AssertionSite AddressInWindow = {"MdePkg/Library/SmmPciExpressLib/PciExpressLib", 132,
                                           "((Address) & ~0xfffffff) == 0"};

/// Bits that an address of the window has.
constexpr UINT64 AddressMask = 0xFFFFFFF;

/// The window. Its size is 0 until the constructor has run.
constinit UINT64 mPciExpressBaseAddress = 0;
constinit UINT64 mPciExpressSize = 0;

} // namespace

EFI_STATUS EFIAPI
SmmPciExpressLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  const PcdProtocol *Pcd = GetPcdProtocol ();
  if (Pcd != nullptr) {
    mPciExpressBaseAddress = Pcd->Get64 (PcdTokenPciExpressBaseAddress);
    mPciExpressSize = PcdPciExpressBaseSize;
  }
  return EFI_SUCCESS;
}

UINTN
PciExpressWindowAddress (UINT64 Address)
{
  ASSERT ((Address & ~AddressMask) == 0, AddressInWindow);
  if (Address >= mPciExpressSize) {
    return AllOnes<UINTN>;
  }
  return mPciExpressBaseAddress + Address;
}

UINT8
PciExpressRead8 (UINT64 Address)
{
  return Address < mPciExpressSize ? MmioLoad8 (PciExpressWindowAddress (Address)) : AllOnes<UINT8>;
}

UINT16
PciExpressRead16 (UINT64 Address)
{
  return Address < mPciExpressSize ? MmioRead16 (PciExpressWindowAddress (Address))
                                   : AllOnes<UINT16>;
}

UINT32
PciExpressRead32 (UINT64 Address)
{
  return Address < mPciExpressSize ? MmioRead32 (PciExpressWindowAddress (Address))
                                   : AllOnes<UINT32>;
}

UINT32
PciExpressWrite32 (UINT64 Address, UINT32 Value)
{
  return Address < mPciExpressSize ? MmioWrite32 (PciExpressWindowAddress (Address), Value)
                                   : AllOnes<UINT32>;
}

UINT16
PciExpressOr16 (UINT64 Address, UINT16 Value)
{
  if (Address >= mPciExpressSize) {
    return AllOnes<UINT16>;
  }
  const UINTN Register = PciExpressWindowAddress (Address);
  return MmioWrite16 (Register, static_cast<UINT16> (MmioRead16 (Register) | Value));
}

UINT16
PciExpressAnd16 (UINT64 Address, UINT16 Value)
{
  if (Address >= mPciExpressSize) {
    return AllOnes<UINT16>;
  }
  const UINTN Register = PciExpressWindowAddress (Address);
  return MmioWrite16 (Register, static_cast<UINT16> (MmioRead16 (Register) & Value));
}
