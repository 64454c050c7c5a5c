/// The serial port: a 16550-compatible UART, polled, without interrupts.
///
/// The port has no lock: whoever writes to it from several processors brings one.
#pragma once

#include "Base.h"

extern "C" {

/// TRUE until SerialPortInitialize finds the transmitter stuck, FALSE from then on. Whoever writes
/// text for people reads it first, by a relaxed atomic load; SerialPortWrite does not.
extern BOOLEAN mSerialPortUsable;

/// Brings the port to the build's settings, unless it is set up like that already: then it changes
/// nothing, even if the transmitter is busy. Returns RETURN_DEVICE_ERROR when there is no port, and
/// when the transmitter does not come to rest; then the port keeps the settings that it has and
/// mSerialPortUsable becomes FALSE.
RETURN_STATUS SerialPortInitialize ();

/// Sends NumberOfBytes bytes of Buffer, which stays the caller's. Returns NumberOfBytes, or 0 when
/// there is no buffer or no port and when the port does not take a byte in time: what has not been
/// sent by then is lost. A NumberOfBytes of 0 waits for all earlier bytes to be out and returns 0.
UINTN SerialPortWrite (const UINT8 *Buffer, UINTN NumberOfBytes);
}
