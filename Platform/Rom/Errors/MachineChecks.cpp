#include "ErrorReport.h"
#include "FirmwareWorld.h"
#include "HardwareErrors.h"
#include "Machine.h"
#include "MachineCheckRegisters.h"

namespace {

constexpr UINT32 CpuidVendor = 0;

/// ErrorStatus of a section (UEFI 2.10, appendix N, "Error Status"): its type, and what it adds.
constexpr UINT64 ErrorStatusMemory = 4 << 8;
constexpr UINT64 ErrorStatusAddress = 1 << 16;
constexpr UINT64 ErrorStatusOverflow = 1 << 22;

/// ValidationBits and values of a memory error section (UEFI 2.10, N.2.5).
constexpr UINT64 ErrorStatusValid = 1 << 0;
constexpr UINT64 PhysicalAddressValid = 1 << 1;
constexpr UINT64 NodeValid = 1 << 3;
constexpr UINT64 CardValid = 1 << 4;
constexpr UINT64 ModuleValid = 1 << 5;
constexpr UINT64 MemoryErrorTypeValid = 1 << 14;
constexpr UINT8 MemoryErrorScrubCorrected = 13;
constexpr UINT8 MemoryErrorScrubUncorrected = 14;
constexpr UINT16 Unknown = 0xFFFF;

/// ValidationBits and values of a generic processor error section (UEFI 2.10, N.2.4.1).
constexpr UINT64 TypeValid = 1 << 0;
constexpr UINT64 IsaValid = 1 << 1;
constexpr UINT64 ErrorTypeValid = 1 << 2;
constexpr UINT64 FlagsValid = 1 << 4;
constexpr UINT64 LevelValid = 1 << 5;
constexpr UINT64 VersionInfoValid = 1 << 6;
constexpr UINT64 ApicIdValid = 1 << 8;
constexpr UINT64 TargetAddressValid = 1 << 9;
constexpr UINT8 ProcessorTypeX86 = 0;
constexpr UINT8 IsaX64 = 2;
constexpr UINT8 FlagOverflow = 0x04;
constexpr UINT8 FlagCorrected = 0x08;

/// ErrorType of the codes that tell it.
struct CodeClass {
  UINT16 Mask;
  UINT16 Code;
  UINT8 ErrorType;
  bool HasLevel;
};
constexpr CodeClass CodeClasses[] = {
    {0xEFFC, 0x000C, 0x01, true},  // Cache, 000F 0000 0000 11LL.
    {0xEFF0, 0x0010, 0x02, true},  // TLB, 000F 0000 0001 TTLL.
    {0xEF00, 0x0100, 0x01, true},  // Cache, 000F 0001 RRRR TTLL.
    {0xE800, 0x0800, 0x04, true},  // Bus, 000F 1PPT RRRR IILL.
    {0xFC00, 0x0400, 0x08, false}, // Micro-architecture, 0000 01xx xxxx xxxx.
    {0x0000, 0x0000, 0x00, false}, // All else, unknown.
};

/// What one bank holds.
struct BankError {
  UINT64 Status;
  UINT64 Address; ///< 0 unless Status declares it valid.
  UINT16 Code;
  UINT32 Severity; ///< An enum CperSeverity.
};

bool
IsAmd ()
{
  UINT32 Ebx = 0;
  UINT32 Ecx = 0;
  UINT32 Edx = 0;
  (void)AsmCpuid (CpuidVendor, nullptr, &Ebx, &Ecx, &Edx);
  return Ebx == 0x68747541 && Edx == 0x69746E65 && Ecx == 0x444D4163; // AuthenticAMD
}

UINT32
SeverityOf (UINT64 Status)
{
  if ((Status & MC_STATUS_CONTEXT_CORRUPT) != 0) {
    return CperSeverityFatal;
  }
  if ((Status & MC_STATUS_UNCORRECTED) != 0 || ((Status & MC_STATUS_DEFERRED) != 0 && IsAmd ())) {
    return CperSeverityRecoverable;
  }
  return CperSeverityCorrected;
}

/// Returns false when the bank holds no error.
bool
ReadBank (UINT32 Bank, BankError *Error)
{
  const UINT32 Registers = Bank * MC_REGISTERS_PER_BANK;
  const UINT64 Status = AsmReadMsr64 (IA32_MC0_STATUS + Registers);
  if ((Status & MC_STATUS_VALID) == 0) {
    return false;
  }
  *Error = {.Status = Status,
            .Address = (Status & MC_STATUS_ADDRESS_VALID) != 0
                           ? AsmReadMsr64 (IA32_MC0_ADDR + Registers)
                           : 0,
            .Code = static_cast<UINT16> (Status),
            .Severity = SeverityOf (Status)};
  return true;
}

/// The row for an error of a socket's memory, or null. Channel may be unknown.
const DimmRange *
FindDimm (const HardwareErrorSources *Sources,
          const BankError *Error,
          UINT32 Socket,
          UINT16 Channel)
{
  if ((Error->Status & MC_STATUS_ADDRESS_VALID) == 0) {
    return nullptr;
  }
  for (UINTN Index = 0; Index < Sources->DimmCount; ++Index) {
    const DimmRange *Dimm = &Sources->Dimms[Index];
    if (Dimm->Socket == Socket && (Channel == Unknown || Dimm->Channel == Channel) &&
        Error->Address - Dimm->Base < Dimm->Size) {
      return Dimm;
    }
  }
  return nullptr;
}

bool
ReportMemoryError (const HardwareErrorSources *Sources,
                   const BankError *Error,
                   const EFI_GUID *Notification,
                   UINT32 Socket)
{
  const UINT16 CodeChannel = Error->Code & MCACOD_MEMORY_CHANNEL;
  const UINT16 Channel = CodeChannel == MCACOD_MEMORY_CHANNEL_UNKNOWN ? Unknown : CodeChannel;
  const DimmRange *Dimm = FindDimm (Sources, Error, Socket, Channel);
  const UINT16 Request = Error->Code & MCACOD_MEMORY_REQUEST;

  EFI_PLATFORM_MEMORY_ERROR_DATA Section = {};
  Section.ValidationBits = ErrorStatusValid | NodeValid;
  Section.ErrorStatus = ErrorStatusMemory |
                        (Request == MCACOD_MEMORY_REQUEST_ADDRESS ? ErrorStatusAddress : 0) |
                        ((Error->Status & MC_STATUS_OVERFLOW) != 0 ? ErrorStatusOverflow : 0);
  Section.Node = static_cast<UINT16> (Socket);
  Section.Card = Dimm != nullptr ? Dimm->Channel : Channel;
  Section.ModuleRank = Dimm != nullptr ? Dimm->Dimm : Unknown;
  Section.ValidationBits |= Section.Card != Unknown ? CardValid : 0;
  Section.ValidationBits |= Dimm != nullptr ? ModuleValid : 0;
  if ((Error->Status & MC_STATUS_ADDRESS_VALID) != 0) {
    Section.ValidationBits |= PhysicalAddressValid;
    Section.PhysicalAddress = Error->Address;
  }
  if (Request == MCACOD_MEMORY_REQUEST_SCRUB) {
    Section.ValidationBits |= MemoryErrorTypeValid;
    Section.ErrorType = Error->Severity == CperSeverityCorrected ? MemoryErrorScrubCorrected
                                                                 : MemoryErrorScrubUncorrected;
  }
  return ReportErrorRecord (Error->Severity, Notification, &gEfiPlatformMemoryErrorSectionGuid,
                            &Section, sizeof (Section));
}

const CodeClass *
FindCodeClass (UINT16 Code)
{
  const CodeClass *Class = CodeClasses;
  while ((Code & Class->Mask) != Class->Code) {
    ++Class;
  }
  return Class;
}

bool
ReportProcessorError (const BankError *Error, const EFI_GUID *Notification, UINT64 ApicId)
{
  UINT32 Version = 0;
  (void)AsmCpuid (CPUID_VERSION, &Version, nullptr, nullptr, nullptr);
  const CodeClass *Class = FindCodeClass (Error->Code);

  EFI_PROCESSOR_GENERIC_ERROR_DATA Section = {};
  Section.ValidationBits =
      TypeValid | IsaValid | ErrorTypeValid | FlagsValid | VersionInfoValid | ApicIdValid;
  Section.Type = ProcessorTypeX86;
  Section.Isa = IsaX64;
  Section.ErrorType = Class->ErrorType;
  Section.Flags =
      static_cast<UINT8> (((Error->Status & MC_STATUS_OVERFLOW) != 0 ? FlagOverflow : 0) |
                          (Error->Severity == CperSeverityCorrected ? FlagCorrected : 0));
  if (Class->HasLevel && (Error->Code & MCACOD_LEVEL) != MCACOD_LEVEL_GENERIC) {
    Section.ValidationBits |= LevelValid;
    Section.Level = Error->Code & MCACOD_LEVEL;
  }
  Section.VersionInfo = Version;
  Section.ApicId = ApicId;
  if ((Error->Status & MC_STATUS_ADDRESS_VALID) != 0) {
    Section.ValidationBits |= TargetAddressValid;
    Section.TargetAddress = Error->Address;
  }
  return ReportErrorRecord (Error->Severity, Notification, &gEfiProcessorGenericErrorSectionGuid,
                            &Section, sizeof (Section));
}

} // namespace

UINTN
ReportMachineChecks (const HardwareErrorSources *Sources)
{
  const ProcessorPlace Place =
      gWorld.PlaceOfProcessor (gWorld.Context, gWorld.ExecutingProcessor (gWorld.Context));
  const UINT32 Banks = MachineCheckBankCount ();
  UINTN Count = 0;
  for (UINT32 Bank = 0; Bank < Banks; ++Bank) {
    BankError Error = {};
    if (!ReadBank (Bank, &Error)) {
      continue;
    }
    const EFI_GUID *Notification = Error.Severity == CperSeverityCorrected
                                       ? &gEfiEventNotificationTypeCmcGuid
                                       : &gEfiEventNotificationTypeMceGuid;
    const bool IsMemory = (Error.Code & MCACOD_MEMORY_MASK) == MCACOD_MEMORY;
    const bool Taken = IsMemory ? ReportMemoryError (Sources, &Error, Notification, Place.Package)
                                : ReportProcessorError (&Error, Notification, Place.ProcessorId);
    Sources->WriteMsr (IA32_MC0_STATUS + Bank * MC_REGISTERS_PER_BANK, 0);
    Count += Taken ? 1 : 0;
  }
  return Count;
}
