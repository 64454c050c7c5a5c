#include "UpiHostDataLib.h"

#include "BaseMemoryLibOptDxe.h"
#include "DxeSmmStandaloneMmHobLib.h"
#include "ProtocolLib.h"
#include "SmmDebugServiceLib.h"
#include "SmmServicesTableLib.h"

constinit const UpiHostDataBlock *mSmmKtiProtocol = nullptr;

namespace {

constexpr CHAR8 SourceFile[] = "ServerSiliconPkg/Upi/Library/UpiHostDataLib/UpiHostDataLibSmm";
constexpr CHAR8 HobFoundText[] = "GuidHob != ((void *) 0)";
constexpr SourceSite BlockAllocated = {SourceFile, 90};
constexpr SourceSite BlockFreed = {SourceFile, 107};
constexpr AssertionSite BlockBound = {SourceFile, 129, "mSmmKtiProtocol != ((void *) 0)"};

/// One record of the block, and the HOB from which it comes.
struct SourceRecord {
  EFI_GUID HobGuid;
  AssertionSite HobFound;
  UINTN Offset; ///< In the block.
  UINTN Size;   ///< In bytes, whatever the HOB's length.
};

constexpr SourceRecord SourceRecords[] = {
    {gUpiFirstRecordHobGuid,
     {SourceFile, 77, HobFoundText},
     offsetof (UpiHostDataBlock, FirstRecord),
     sizeof (UpiHostDataBlock::FirstRecord)},
    {gUpiHostRecordHobGuid,
     {SourceFile, 81, HobFoundText},
     offsetof (UpiHostDataBlock, HostRecord),
     sizeof (UpiHostDataBlock::HostRecord)},
    {gUpiThirdRecordHobGuid,
     {SourceFile, 85, HobFoundText},
     offsetof (UpiHostDataBlock, ThirdRecord),
     sizeof (UpiHostDataBlock::ThirdRecord)},
};
constexpr UINTN RecordCount = ArrayCount (SourceRecords);

/// Binds the block that stands in the protocol database. Leaves mSmmKtiProtocol null after a
/// failure.
EFI_STATUS
BindBlock ()
{
  VOID *Interface = nullptr;
  const EFI_STATUS Status = LocateSmmProtocol (&gSmmKtiProtocolGuid, &Interface);
  mSmmKtiProtocol = static_cast<const UpiHostDataBlock *> (Interface);
  return Status;
}

/// Looks for the HOBs of all records. Returns EFI_NOT_FOUND if one is missing.
EFI_STATUS
FindHobs (HobData (&Hobs)[RecordCount])
{
  EFI_STATUS Status = EFI_SUCCESS;
  for (UINTN Index = 0; Index < RecordCount; ++Index) {
    const SourceRecord &Source = SourceRecords[Index];
    Hobs[Index] = DataOfGuidHob (GetFirstGuidHob (&Source.HobGuid));
    ASSERT (Hobs[Index].Start != nullptr, Source.HobFound);
    if (Hobs[Index].Start == nullptr) {
      Status = EFI_NOT_FOUND;
    }
  }
  return Status;
}

/// Fills one record of the block with what its HOB has of it, and zeros behind that.
VOID
CopyRecord (UINT8 *Record, UINTN Size, const HobData &Hob)
{
  const UINTN CopySize = Hob.Size < Size ? Hob.Size : Size;
  CopyMem (Record, Hob.Start, CopySize);
  ZeroMem (Record + CopySize, Size - CopySize);
}

/// Builds the block and publishes it. After a failure nothing is left of it.
EFI_STATUS
PublishBlock ()
{
  HobData Hobs[RecordCount];
  EFI_STATUS Status = FindHobs (Hobs);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  VOID *Block = nullptr;
  Status = gSmst->SmmAllocatePool (EfiRuntimeServicesData, sizeof (UpiHostDataBlock), &Block);
  if (!EFI_ERROR (Status) && Block == nullptr) {
    Status = EFI_OUT_OF_RESOURCES;
  }
  ASSERT_EFI_ERROR (Status, BlockAllocated);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  for (UINTN Index = 0; Index < RecordCount; ++Index) {
    const SourceRecord &Source = SourceRecords[Index];
    CopyRecord (static_cast<UINT8 *> (Block) + Source.Offset, Source.Size, Hobs[Index]);
  }

  EFI_HANDLE Handle = nullptr;
  Status = gSmst->SmmInstallProtocolInterface (&Handle, &gSmmKtiProtocolGuid, EFI_NATIVE_INTERFACE,
                                               Block);
  if (EFI_ERROR (Status)) {
    const EFI_STATUS FreeStatus = gSmst->SmmFreePool (Block);
    ASSERT_EFI_ERROR (FreeStatus, BlockFreed);
  }
  return Status;
}

} // namespace

EFI_STATUS EFIAPI
UpiHostDataLibConstructor (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  if (gSmst == nullptr) {
    return EFI_UNSUPPORTED;
  }
  if (!EFI_ERROR (BindBlock ())) {
    return EFI_SUCCESS;
  }
  const EFI_STATUS Status = PublishBlock ();
  if (EFI_ERROR (Status)) {
    return Status;
  }
  // The pointer that later drivers get. That it is not found shows when the record is asked for.
  (void)BindBlock ();
  return EFI_SUCCESS;
}

const UpiHostRecord *
GetUpiHostRecord ()
{
  ASSERT (mSmmKtiProtocol != nullptr, BlockBound);
  return mSmmKtiProtocol != nullptr ? &mSmmKtiProtocol->HostRecord : nullptr;
}
