#include "CperLayout.h"
#include "FieldMeaning.h"
#include "Record/ErrorClass.h"

namespace {

/// Offset and size of a field of the body.
#define FIELD(Member) \
  offsetof (EFI_PLATFORM_MEMORY_ERROR_DATA, Member), sizeof (EFI_PLATFORM_MEMORY_ERROR_DATA::Member)

using enum Notation;

constexpr Named<UINT64> MemoryErrorTypes[] = {
    {"unknown", 0},
    {"no error", 1},
    {"single-bit ECC", 2},
    {"multi-bit ECC", 3},
    {"single-symbol chipkill ECC", 4},
    {"multi-symbol chipkill ECC", 5},
    {"master abort", 6},
    {"target abort", 7},
    {"parity error", 8},
    {"watchdog timeout", 9},
    {"invalid address", 10},
    {"mirror broken", 11},
    {"memory sparing", 12},
    {"scrub corrected error", 13},
    {"scrub uncorrected error", 14},
    {"physical memory map-out", 15},
};

// The error status of N.2.12: a type in bits 15 to 8, and flags above.
constexpr Named<UINT64> StatusTypes[] = {
    {"internal", 1},
    {"memory", 4},
    {"TLB", 5},
    {"cache", 6},
    {"function unit", 7},
    {"self-test", 8},
    {"overflow or underflow", 9},
    {"bus", 16},
    {"virtual address without translation", 17},
    {"improper access", 18},
    {"unimplemented address", 19},
    {"lockstep lost", 20},
    {"unexpected response", 21},
    {"parity", 22},
    {"protocol", 23},
    {"path error", 24},
    {"timeout", 25},
    {"poisoned", 26},
};

constexpr Named<UINT64> StatusBits[] = {
    {"address", 16},   {"control", 17},     {"data", 18},     {"responder", 19},
    {"requester", 20}, {"first error", 21}, {"overflow", 22},
};

void
AppendErrorStatus (std::string &Text, UINT64 Value)
{
  if (Value == 0) {
    Text += "none";
    return;
  }
  AppendName<StatusTypes> (Text, Value >> 8 & 0xFF);
  const UINT64 Bits = Value & ~UINT64{0xFFFF};
  if (Bits != 0) {
    Text += ": ";
    AppendBits<StatusBits> (Text, Bits);
  }
}

// UEFI 2.10, N.2.5.
constexpr CperField MemoryFields[] = {
    {"socket", FIELD (Node), 3, true, Decimal, "Socket of the DIMM (node)"},
    {"channel", FIELD (Card), 4, true, Decimal, "DDR channel on the socket (card)"},
    {"dimm", FIELD (ModuleRank), 5, true, Decimal, "DIMM on the channel (module)"},
    {"error-status", FIELD (ErrorStatus), 0, false, Hexadecimal, "Error status",
     Means (AppendErrorStatus)},
    {"address", FIELD (PhysicalAddress), 1, false, Hexadecimal, "Physical address"},
    {"address-mask", FIELD (PhysicalAddressMask), 2, false, Hexadecimal,
     "Valid bits of the physical address"},
    {"bank", FIELD (Bank), 6, false, Decimal, "Bank"},
    {"device", FIELD (Device), 7, false, Decimal, "Memory chip on the DIMM"},
    {"bank-group", FIELD (Bank), 19, false, Decimal, "Group of the bank", BitsFrom (8, 8)},
    {"bank-address", FIELD (Bank), 20, false, Decimal, "Bank in its group", BitsFrom (0, 8)},
    {"row", FIELD (Row), 8, false, Decimal, "Row"},
    {"row-extension", FIELD (Extended), 18, false, Decimal, "Bits 17 and 16 of the row",
     BitsFrom (0, 2)},
    {"column", FIELD (Column), 9, false, Decimal, "Column"},
    {"bit", FIELD (BitPosition), 10, false, Decimal, "Bit position"},
    {"requestor-id", FIELD (RequestorId), 11, false, Hexadecimal, "Requestor"},
    {"responder-id", FIELD (ResponderId), 12, false, Hexadecimal, "Responder"},
    {"target-id", FIELD (TargetId), 13, false, Hexadecimal, "Target"},
    {"error-type", FIELD (ErrorType), 14, false, Decimal, "Memory error type",
     Means (AppendName<MemoryErrorTypes>)},
    {"rank", FIELD (RankNumber), 15, false, Decimal, "Rank"},
    {"chip", FIELD (Extended), 21, false, Decimal, "Chip in a stack", BitsFrom (5, 3)},
    {"card-handle", FIELD (CardHandle), 16, false, Hexadecimal, "SMBIOS handle of the card"},
    {"module-handle", FIELD (ModuleHandle), 17, false, Hexadecimal, "SMBIOS handle of the module"},
};

#undef FIELD

} // namespace

constinit const CperSection MemorySection = {"memory", ErrorClassMemory,
                                             gEfiPlatformMemoryErrorSectionGuid,
                                             sizeof (EFI_PLATFORM_MEMORY_ERROR_DATA), MemoryFields};
