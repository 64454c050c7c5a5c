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

/// Longest 16-bit text, in characters. 0 turns the test off.
inline constexpr UINTN PcdMaximumUnicodeStringLength = 100000000;

/// Address of the local APIC's registers where IA32_APIC_BASE does not exist.
inline constexpr UINT32 PcdCpuLocalApicBaseAddress = 0xFEE00000;

/// The PCI Express window: the token under which the PCD protocol has its base, an address of 64
/// bits, and its size in bytes.
inline constexpr UINTN PcdTokenPciExpressBaseAddress = 24;
inline constexpr UINT64 PcdPciExpressBaseSize = 0x10000000;

/// Whether SetJump and LongJump move the shadow stack: with 0 never, else where the processor has
/// control-flow enforcement turned on. The linker chooses the value with the machine operations,
/// since it is assembly that reads it.
extern "C" {
extern const UINT32 PcdControlFlowEnforcementPropertyMask;
}

/// Longest wait for a spin lock, in microseconds. 0 waits for ever.
inline constexpr UINT32 PcdSpinLockTimeout = 20000000;

/// I/O port of the serial port's register 0. 0 means that there is no serial port.
inline constexpr UINT16 PcdSerialRegisterBase = 0x3F8;

/// Register n lies at the base plus n times this.
inline constexpr UINT16 PcdSerialRegisterStride = 1;

/// Whether the registers are memory-mapped, and the width in bits of an access then. The driver
/// has no code for that.
inline constexpr BOOLEAN PcdSerialUseMmio = FALSE;
inline constexpr UINT8 PcdSerialRegisterAccessWidth = 8;

/// Baud rate, and the UART's input clock in hertz.
inline constexpr UINT32 PcdSerialBaudRate = 115200;
inline constexpr UINT32 PcdSerialClockRate = 1843200;

/// Line control register: 8 data bits, no parity, one stop bit.
inline constexpr UINT8 PcdSerialLineControl = 0x03;

/// Bit 0 turns the FIFOs on, bit 5 makes them as deep as the size below, in bytes. No other bit
/// counts.
inline constexpr UINT8 PcdSerialFifoControl = 0x07;
inline constexpr UINT8 PcdSerialExtendedTxFifoSize = 64;

/// Whether the transmitter waits for the other side, and whether a cable has to be seen for that.
inline constexpr BOOLEAN PcdSerialUseHardwareFlowControl = FALSE;
inline constexpr BOOLEAN PcdSerialDetectCable = FALSE;

/// First of the four CMOS bytes, low byte first, that hold the RAS debug log's mask.
inline constexpr UINT8 RasLevelCmosOffset = 0x4C;
