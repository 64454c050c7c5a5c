#include "PciRegisters.h"

namespace {

constexpr UINTN CapabilityOffsetMin = 0x40;
constexpr UINTN CapabilityCountMax = 48;
constexpr UINTN ExtendedCapabilityStart = 0x100;
constexpr UINTN ExtendedCapabilityCountMax = 960;

} // namespace

UINT16
FindPciCapability (const PciAddress &Of, UINT8 Id)
{
  if ((MmioLoad16 (RegisterOf (Of, offsetof (PcieHeader, Status))) &
       PCI_STATUS_CAPABILITIES_LIST) == 0) {
    return 0;
  }
  UINTN Offset = MmioLoad8 (RegisterOf (Of, offsetof (PcieHeader, CapabilitiesPointer)));
  for (UINTN Count = 0; Count < CapabilityCountMax && Offset >= CapabilityOffsetMin; ++Count) {
    const UINT16 Head = MmioLoad16 (RegisterOf (Of, Offset));
    if ((Head & 0xFF) == Id) {
      return static_cast<UINT16> (Offset);
    }
    Offset = Head >> 8;
  }
  return 0;
}

UINT16
FindExtendedPciCapability (const PciAddress &Of, UINT16 Id)
{
  UINTN Offset = ExtendedCapabilityStart;
  for (UINTN Count = 0; Count < ExtendedCapabilityCountMax && Offset != 0; ++Count) {
    const UINT32 Head = MmioLoad32 (RegisterOf (Of, Offset));
    if ((Head & 0xFFFF) == Id) {
      return static_cast<UINT16> (Offset);
    }
    Offset = Head >> 20 & 0xFFC;
  }
  return 0;
}
