#include "Protocol/SmmAccess2.h"
#include "ProtocolLib.h"
#include "SmmMemoryAllocationLib.h"
#include "SysHostPointerLibInternal.h"

namespace {

constexpr SourceSite AccessLocated = {SysHostPointerSourceFile, 214};
constexpr AssertionSite SizeNotZero = {SysHostPointerSourceFile, 225, "Size != 0"};
constexpr SourceSite SizeAsked = {SysHostPointerSourceFile, 233};
constexpr AssertionSite SizeAnswered = {SysHostPointerSourceFile, 234,
                                        "Status == ((RETURN_STATUS)(0x8000000000000000ULL | (5)))"};
constexpr AssertionSite RangesAllocated = {SysHostPointerSourceFile, 252,
                                           "InternalRanges != ((void *) 0)"};
constexpr SourceSite MapRead = {SysHostPointerSourceFile, 267};

/// Finds the SMM access protocol.
EFI_STATUS
LocateAccess (const EFI_SMM_ACCESS2_PROTOCOL **Access)
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = LocateBootProtocol (&gEfiSmmAccess2ProtocolGuid, &Interface);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "ERROR: %a: Unable to locate SmmAccess2 protocol: %r\n", gEfiCallerBaseName,
           Status);
    ASSERT_EFI_ERROR (Status, AccessLocated);
  }
  *Access = static_cast<const EFI_SMM_ACCESS2_PROTOCOL *> (Interface);
  return Status;
}

/// Asks for the size of the map in bytes.
EFI_STATUS
AskMapSize (const EFI_SMM_ACCESS2_PROTOCOL *Access, UINTN *Size)
{
  *Size = 0;
  const EFI_STATUS Status = Access->GetCapabilities (Access, Size, nullptr);
  if (Status == EFI_BUFFER_TOO_SMALL) {
    ASSERT (*Size != 0, SizeNotZero);
    return EFI_SUCCESS;
  }
  DEBUG (DEBUG_ERROR, "ERROR: %a: Unexpected status for getting SMM capabilities size: %r\n",
         gEfiCallerBaseName, Status);
  ASSERT_EFI_ERROR (Status, SizeAsked);
  ASSERT (false, SizeAnswered);
  return EFI_ERROR (Status) ? Status : EFI_BAD_BUFFER_SIZE;
}

} // namespace

EFI_STATUS
GetSmramRanges (EFI_SMRAM_DESCRIPTOR **Ranges, UINTN *Count)
{
  const EFI_SMM_ACCESS2_PROTOCOL *Access = nullptr;
  EFI_STATUS Status = LocateAccess (&Access);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  UINTN Size = 0;
  Status = AskMapSize (Access, &Size);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  auto *InternalRanges = static_cast<EFI_SMRAM_DESCRIPTOR *> (AllocatePool (Size));
  if (InternalRanges == nullptr) {
    DEBUG (DEBUG_ERROR, "ERROR: %a: Could not allocate memory for SMM ranges\n",
           gEfiCallerBaseName);
    ASSERT (false, RangesAllocated);
    return EFI_OUT_OF_RESOURCES;
  }
  Status = Access->GetCapabilities (Access, &Size, InternalRanges);
  if (EFI_ERROR (Status)) {
    DEBUG (DEBUG_ERROR, "ERROR: %a: Unable to get SMM capabilities: %r\n", gEfiCallerBaseName,
           Status);
    ASSERT_EFI_ERROR (Status, MapRead);
    FreePool (InternalRanges);
    return Status;
  }
  *Ranges = InternalRanges;
  *Count = Size / sizeof (EFI_SMRAM_DESCRIPTOR);
  return EFI_SUCCESS;
}
