#include "VelmoraQsmErrorHandler.h"

#include "BaseMemoryLibOptDxe.h"

namespace {

/// One kind of CPER section that the driver serves.
struct SectionKind {
  EFI_GUID Type;
  const CHAR8 *Message;
  ErrorClass Class;
};

/// In the order in which they are tried.
constexpr SectionKind SectionKinds[] = {
    {gEfiPlatformMemoryErrorSectionGuid, "Inside QsmLogErrorWrapper() Memory Error ...\n",
     ErrorClassMemory},
    {gEfiPcieErrorSectionGuid, "Inside QsmLogErrorWrapper() Pcie Error ...\n", ErrorClassPcie},
    {gEfiProcessorGenericErrorSectionGuid, "Inside QsmLogErrorWrapper() Processors Error ...\n",
     ErrorClassProcessor},
};

} // namespace

EFI_STATUS EFIAPI
QsmLogErrorWrapper (EFI_STATUS_CODE_TYPE CodeType,
                    EFI_STATUS_CODE_VALUE Value,
                    UINT32,
                    EFI_GUID *,
                    EFI_STATUS_CODE_DATA *Data)
{
  if ((CodeType & EFI_STATUS_CODE_TYPE_MASK) != EFI_ERROR_CODE ||
      Value != HARDWARE_ERROR_STATUS_CODE || Data == nullptr) {
    return EFI_UNSUPPORTED;
  }

  // The record follows the fixed header, whatever the header says of sizes.
  const auto *Record = reinterpret_cast<const ErrorRecord *> (Data + 1);
  const EFI_GUID SectionType = Record->Section.SectionType;
  for (const SectionKind &Kind : SectionKinds) {
    if (CompareGuid (&SectionType, &Kind.Type)) {
      DEBUG (DEBUG_INFO, Kind.Message);
      FindRedFishId (Kind.Class, Record);
      break;
    }
  }
  return EFI_SUCCESS;
}
