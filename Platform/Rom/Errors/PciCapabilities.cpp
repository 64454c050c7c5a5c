#include "PciCapabilities.h"

#include "Machine.h"
#include "Record/PcieRegisters.h"

namespace {

constexpr UINT32 AllOnes = 0xFFFFFFFF;

/// Capabilities begin with a dword and at one, so no more of them fit.
constexpr UINTN CapabilityAlignment = sizeof (UINT32);
constexpr UINTN CapabilityCountMax =
    (PciConfigurationSize - sizeof (PcieHeader)) / CapabilityAlignment;
constexpr UINTN ExtendedCapabilityCountMax =
    (PciExtendedConfigurationSize - PciConfigurationSize) / CapabilityAlignment;

/// Their heads: Id, offset of the next one, and in an extended one a version between the two.
constexpr UINT32 IdMask = 0xFF;
constexpr UINT32 NextShift = 8;
constexpr UINT32 NextMask = 0xFF & ~(CapabilityAlignment - 1);
constexpr UINT32 ExtendedIdMask = 0xFFFF;
constexpr UINT32 ExtendedNextShift = 20;
constexpr UINT32 ExtendedNextMask = 0xFFF & ~(CapabilityAlignment - 1);

} // namespace

UINT16
FindPciCapability (UINTN Function, UINT8 Id)
{
  if ((MmioLoad16 (Function + offsetof (PcieHeader, Status)) & PCI_STATUS_CAPABILITIES_LIST) == 0) {
    return 0;
  }
  UINT32 Offset = MmioLoad8 (Function + offsetof (PcieHeader, CapabilitiesPointer)) & NextMask;
  for (UINTN Count = 0; Count < CapabilityCountMax && Offset >= sizeof (PcieHeader); ++Count) {
    const UINT32 Head = MmioLoad32 (Function + Offset);
    if ((Head & IdMask) == Id) {
      return static_cast<UINT16> (Offset);
    }
    Offset = Head >> NextShift & NextMask;
  }
  return 0;
}

UINT16
FindExtendedPciCapability (UINTN Function, UINT16 Id)
{
  UINT32 Offset = PciConfigurationSize;
  for (UINTN Count = 0; Count < ExtendedCapabilityCountMax && Offset >= PciConfigurationSize;
       ++Count) {
    const UINT32 Head = MmioLoad32 (Function + Offset);
    if (Head == 0 || Head == AllOnes) {
      break;
    }
    if ((Head & ExtendedIdMask) == Id) {
      return static_cast<UINT16> (Offset);
    }
    Offset = Head >> ExtendedNextShift & ExtendedNextMask;
  }
  return 0;
}
