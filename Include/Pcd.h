/// Build-fixed settings. A test that needs another value of one compiles the module's source
/// against a copy of this header.
#pragma once

#include "Base.h"

/// Bits of PcdDebugPropertyMask.
inline constexpr UINT8 DEBUG_PROPERTY_ASSERT_ENABLED = 0x01;
inline constexpr UINT8 DEBUG_PROPERTY_PRINT_ENABLED = 0x02;
inline constexpr UINT8 DEBUG_PROPERTY_CODE_ENABLED = 0x04;
inline constexpr UINT8 DEBUG_PROPERTY_ASSERT_BREAKPOINT = 0x10;
inline constexpr UINT8 DEBUG_PROPERTY_ASSERT_DEADLOOP = 0x20;

/// Assertions and messages on, debug-only code on, an assertion ends in a dead loop. No code tests
/// bit 3.
inline constexpr UINT8 PcdDebugPropertyMask = 0x2F;

/// Levels that a message site lets through.
inline constexpr UINT32 PcdFixedDebugPrintErrorLevel = 0xFFFFFFFF;

/// Levels that the debug service client lets through.
inline constexpr UINT32 PcdDebugPrintErrorLevel = 0x80000046;

/// Longest 8-bit text, in characters. 0 turns the test off.
inline constexpr UINTN PcdMaximumAsciiStringLength = 100000000;

/// Address of the local APIC's registers where IA32_APIC_BASE does not exist.
inline constexpr UINT32 PcdCpuLocalApicBaseAddress = 0xFEE00000;

/// Whether SetJump and LongJump move the shadow stack: with 0 never, else where the processor has
/// control-flow enforcement turned on. The linker chooses the value with the machine operations,
/// since it is assembly that reads it.
extern "C" {
extern const UINT32 PcdControlFlowEnforcementPropertyMask;
}

/// Longest wait for a spin lock, in microseconds. 0 waits for ever.
inline constexpr UINT32 PcdSpinLockTimeout = 20000000;
