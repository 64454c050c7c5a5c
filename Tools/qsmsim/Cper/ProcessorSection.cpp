#include "CperLayout.h"
#include "FieldMeaning.h"
#include "Record/ErrorClass.h"

namespace {

/// Offset and size of a field of the body.
#define FIELD(Member)                                  \
  offsetof (EFI_PROCESSOR_GENERIC_ERROR_DATA, Member), \
      sizeof (EFI_PROCESSOR_GENERIC_ERROR_DATA::Member)

using enum Notation;

constexpr Named<UINT64> Types[] = {{"IA32/X64", 0}, {"IA64", 1}, {"ARM", 2}};

constexpr Named<UINT64> InstructionSets[] = {
    {"IA32", 0}, {"IA64", 1}, {"X64", 2}, {"ARM A32/T32", 3}, {"ARM A64", 4}};

constexpr Named<UINT64> ProcessorErrorTypes[] = {
    {"cache", 0}, {"TLB", 1}, {"bus", 2}, {"micro-architectural", 3}};

constexpr Named<UINT64> Operations[] = {
    {"unknown or generic", 0}, {"data read", 1}, {"data write", 2}, {"instruction execution", 3}};

constexpr Named<UINT64> Flags[] = {
    {"restartable", 0}, {"precise instruction pointer", 1}, {"overflow", 2}, {"corrected", 3}};

void
AppendErrorType (std::string &Text, UINT64 Value)
{
  if (Value == 0) {
    Text += "unknown";
  } else {
    AppendBits<ProcessorErrorTypes> (Text, Value);
  }
}

// UEFI 2.10, N.2.4.1.
constexpr CperField ProcessorFields[] = {
    {"processor-type", FIELD (Type), 0, false, Decimal, "Processor type",
     Means (AppendName<Types>)},
    {"isa", FIELD (Isa), 1, false, Decimal, "Instruction set", Means (AppendName<InstructionSets>)},
    {"error-type", FIELD (ErrorType), 2, false, Hexadecimal, "Processor error type",
     Means (AppendErrorType)},
    {"operation", FIELD (Operation), 3, false, Decimal, "Operation that failed",
     Means (AppendName<Operations>)},
    {"flags", FIELD (Flags), 4, false, Hexadecimal, "Restartable, precise, overflow",
     Means (AppendBits<Flags>)},
    {"level", FIELD (Level), 5, false, Decimal, "Cache or TLB level"},
    {"version-info", FIELD (VersionInfo), 6, false, Hexadecimal, "CPUID signature"},
    {"apic-id", FIELD (ApicId), 8, false, Hexadecimal, "APIC id of the processor"},
    {"target-address", FIELD (TargetAddress), 9, false, Hexadecimal, "Target address"},
    {"requestor-id", FIELD (RequestorId), 10, false, Hexadecimal, "Requestor"},
    {"responder-id", FIELD (ResponderId), 11, false, Hexadecimal, "Responder"},
    {"instruction-pointer", FIELD (InstructionIp), 12, false, Hexadecimal, "Instruction pointer"},
};

#undef FIELD

} // namespace

constinit const CperSection ProcessorSection = {
    "processor", ErrorClassProcessor, gEfiProcessorGenericErrorSectionGuid,
    sizeof (EFI_PROCESSOR_GENERIC_ERROR_DATA), ProcessorFields};
