#include "SmmMemoryAllocationLib.h"

#include "BaseMemoryLibOptDxe.h"
#include "Protocol/SmmAccess2.h"
#include "ProtocolLib.h"
#include "SmmDebugServiceLib.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

/// The SMRAM map, in SMM pool memory of this module, and its number of entries. Written by the
/// constructor alone, when it has succeeded.
constinit EFI_SMRAM_DESCRIPTOR *mSmramRanges = nullptr;
constinit UINTN mSmramRangeCount = 0;

constexpr CHAR8 SourceFile[] = "MdePkg/Library/SmmMemoryAllocationLib/MemoryAllocationLib";
constexpr SourceSite AccessLocated = {SourceFile, 65};
constexpr AssertionSite MapSizeKnown = {SourceFile, 72,
                                        "Status == ((RETURN_STATUS)(0x8000000000000000ULL | (5)))"};
constexpr AssertionSite RangesNotNull = {SourceFile, 75, "mSmramRanges != ((void *) 0)"};
constexpr SourceSite MapRead = {SourceFile, 78};
constexpr SourceSite BufferFreed = {SourceFile, 989};

/// Copies the SMRAM map. After a failure there is no copy, and nothing is left allocated.
VOID
CopySmramMap ()
{
  VOID *Interface = nullptr;
  EFI_STATUS Status = LocateBootProtocol (&gEfiSmmAccess2ProtocolGuid, &Interface);
  ASSERT_EFI_ERROR (Status, AccessLocated);
  if (EFI_ERROR (Status)) {
    return;
  }

  const auto *Access = static_cast<const EFI_SMM_ACCESS2_PROTOCOL *> (Interface);
  UINTN MapSize = 0;
  Status = Access->GetCapabilities (Access, &MapSize, nullptr);
  ASSERT (Status == EFI_BUFFER_TOO_SMALL, MapSizeKnown);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return;
  }

  auto *Ranges = static_cast<EFI_SMRAM_DESCRIPTOR *> (AllocatePool (MapSize));
  ASSERT (Ranges != nullptr, RangesNotNull);
  if (Ranges == nullptr) {
    return;
  }

  Status = Access->GetCapabilities (Access, &MapSize, Ranges);
  ASSERT_EFI_ERROR (Status, MapRead);
  if (EFI_ERROR (Status)) {
    // FreePool would look for the block elsewhere as long as there is no map.
    (void)gSmst->SmmFreePool (Ranges);
    return;
  }
  mSmramRanges = Ranges;
  mSmramRangeCount = MapSize / sizeof (EFI_SMRAM_DESCRIPTOR);
}

BOOLEAN
BufferInSmram (const VOID *Buffer)
{
  return IsInSmram (mSmramRanges, mSmramRangeCount, reinterpret_cast<UINTN> (Buffer));
}

} // namespace

EFI_STATUS EFIAPI
SmmMemoryAllocationLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  CopySmramMap ();
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
SmmMemoryAllocationLibDestructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  if (mSmramRanges != nullptr) {
    FreePool (mSmramRanges);
  }
  return EFI_SUCCESS;
}

VOID *
AllocatePool (UINTN AllocationSize)
{
  // The assertion that the table exists has been made by an earlier constructor, and may have
  // returned.
  if (gSmst == nullptr) {
    return nullptr;
  }
  VOID *Buffer = nullptr;
  const EFI_STATUS Status =
      gSmst->SmmAllocatePool (EfiRuntimeServicesData, AllocationSize, &Buffer);
  return EFI_ERROR (Status) ? nullptr : Buffer;
}

VOID *
AllocateZeroPool (UINTN AllocationSize)
{
  VOID *Buffer = AllocatePool (AllocationSize);
  if (Buffer != nullptr) {
    ZeroMem (Buffer, AllocationSize);
  }
  return Buffer;
}

VOID
FreePool (VOID *Buffer)
{
  EFI_STATUS Status = EFI_UNSUPPORTED;
  if (BufferInSmram (Buffer)) {
    Status = gSmst->SmmFreePool (Buffer);
  } else if (gBS != nullptr) {
    Status = gBS->FreePool (Buffer);
  }
  ASSERT_EFI_ERROR (Status, BufferFreed);
}
