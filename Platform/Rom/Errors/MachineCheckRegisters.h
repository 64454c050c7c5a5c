/// Machine-check registers and what their bits mean (Intel SDM, volume 3, chapter 16; AMD64 APM,
/// volume 2, chapter 9).
#pragma once

#include "Machine.h"

inline constexpr UINT32 IA32_MCG_CAP = 0x179;
inline constexpr UINT64 MCG_CAP_BANK_COUNT = 0xFF;

/// Not 0 while a machine check is served: another one would then shut the processor down.
inline constexpr UINT32 IA32_MCG_STATUS = 0x17A;

/// The registers of the banks follow each other, four a bank. Those of bank 32 would lie in the
/// place of other registers.
inline constexpr UINT32 IA32_MC0_STATUS = 0x401;
inline constexpr UINT32 IA32_MC0_ADDR = 0x402;
inline constexpr UINT32 IA32_MC0_MISC = 0x403;
inline constexpr UINT32 MC_REGISTERS_PER_BANK = 4;
inline constexpr UINT32 MC_BANK_COUNT_MAX = 32;

/// Version leaf of CPUID, and its bit in EDX for a processor that has these registers.
inline constexpr UINT32 CPUID_VERSION = 1;
inline constexpr UINT32 CPUID_VERSION_EDX_MCA = 1U << 14;

inline constexpr UINT64 MC_STATUS_VALID = 1ULL << 63;
inline constexpr UINT64 MC_STATUS_OVERFLOW = 1ULL << 62;
inline constexpr UINT64 MC_STATUS_UNCORRECTED = 1ULL << 61;
inline constexpr UINT64 MC_STATUS_ADDRESS_VALID = 1ULL << 58;
inline constexpr UINT64 MC_STATUS_CONTEXT_CORRUPT = 1ULL << 57;
inline constexpr UINT64 MC_STATUS_DEFERRED = 1ULL << 44; ///< AMD; a count's bit elsewhere.

/// Compound error codes in bits 15 to 0. Bit 12 tells of corrected errors that are not counted, and
/// is no part of the code.
inline constexpr UINT16 MCACOD_MEMORY_MASK = 0xEF80; ///< 000F 0000 1MMM CCCC.
inline constexpr UINT16 MCACOD_MEMORY = 0x0080;
inline constexpr UINT16 MCACOD_MEMORY_CHANNEL = 0x000F;
inline constexpr UINT16 MCACOD_MEMORY_CHANNEL_UNKNOWN = 0x000F;
inline constexpr UINT16 MCACOD_MEMORY_REQUEST = 0x0070;
inline constexpr UINT16 MCACOD_MEMORY_REQUEST_ADDRESS = 0x0030;
inline constexpr UINT16 MCACOD_MEMORY_REQUEST_SCRUB = 0x0040;

/// LL of the codes that have it.
inline constexpr UINT16 MCACOD_LEVEL = 0x0003;
inline constexpr UINT16 MCACOD_LEVEL_GENERIC = 0x0003;

/// Number of banks of the executing processor that can be reached.
inline UINT32
MachineCheckBankCount ()
{
  UINT32 Edx = 0;
  (void)AsmCpuid (CPUID_VERSION, nullptr, nullptr, nullptr, &Edx);
  if ((Edx & CPUID_VERSION_EDX_MCA) == 0) {
    return 0;
  }
  const auto Count = static_cast<UINT32> (AsmReadMsr64 (IA32_MCG_CAP) & MCG_CAP_BANK_COUNT);
  return Count < MC_BANK_COUNT_MAX ? Count : MC_BANK_COUNT_MAX;
}
