/// Reaches the register blocks (RCRB) of CXL root ports.
///
/// A stack's downstream port has a block of 4 KiB, and its upstream port has the one behind that
/// (CXL 2.0, 8.2.1).
#pragma once

#include "Base.h"

extern "C" {

/// Base of the downstream port's RCRB of one stack (Socket below SOCKET_MAX, Stack below
/// IIO_STACK_MAX). Returns 0, with a message, if the system information record has none or was not
/// bound.
UINT64 CxlGetDownstreamRcrbBar (UINT8 Socket, UINT8 Stack);

/// Whether the upstream port's RCRB of one stack reads as all ones: nothing answers there. Reads it
/// twice, of which the second one counts. The block has to lie below 4 GiB, and the rest of its
/// base is not looked at. A base of 0 there is an assertion; where that returns, nothing is read
/// and the result is TRUE.
BOOLEAN CxlRcrbReadsAllOnes (UINT8 Socket, UINT8 Stack);
}
