/// The way to the BMC by the keyboard controller style (KCS) interface of IPMI 2.0, chapter 9.
///
/// Nothing is read from a clock: time is counted in polls, each of them a pause and one read of the
/// status port, which on a real bus takes about a microsecond. The counts below bound every
/// transfer, whatever the BMC does.
#pragma once

#include "FirmwareWorld.h"

/// The interface's ports (IPMI 2.0, 9.5).
inline constexpr UINT16 KCS_DATA_PORT = 0xCA2;
inline constexpr UINT16 KCS_STATUS_PORT = 0xCA3; ///< Written, it takes control codes.

/// Polls of one transfer from the first write to the last byte of the answer, all attempts taken
/// together; and of what comes ahead of each attempt, KCS_ATTEMPT_COUNT_MAX of them at most: the
/// recovery from a transfer that was left unfinished. Once a BMC has fallen silent, each request
/// thus costs the latter only.
inline constexpr UINT32 KCS_POLL_COUNT_MAX = 1000000;
inline constexpr UINT32 KCS_RECOVERY_POLL_COUNT_MAX = 100000;
inline constexpr UINTN KCS_ATTEMPT_COUNT_MAX = 3;

/// Polls of others for which a processor waits: as many as 16 transfers may take. It also gives up
/// on one that holds the interface for so many pauses without a poll.
inline constexpr UINT32 KCS_LOCK_POLL_COUNT_MAX = 16 * KCS_POLL_COUNT_MAX;
inline constexpr UINT32 KCS_LOCK_PAUSE_COUNT_MAX = 10000000;

extern "C" {

/// Sends one request to the BMC and waits for its answer, as FirmwareWorld::SendToBmc. Context is
/// not used. Any processor may call at any time; they take turns.
///
/// The BMC gets a request once at most. One that it refuses half way is sent again, up to
/// KCS_ATTEMPT_COUNT_MAX times; one whose last byte has been written is not, for the BMC may have
/// acted on it already. What a transfer leaves unfinished the next one aborts and drains before it
/// writes, so a late answer is never taken for that of a later request. Nor is the answer of
/// another NetFn, LUN or Cmd: it is read and dropped, and the wait goes on.
///
/// Returns EFI_SUCCESS with any answer, be its completion code good or bad, and
/// - EFI_BUFFER_TOO_SMALL if the answer is longer than the room: *ResponseSize bytes of it are
///   there, the rest is lost;
/// - EFI_TIMEOUT if the BMC does not take the request or does not answer within the bound, or if
///   other processors hold the interface that long;
/// - EFI_DEVICE_ERROR if the BMC breaks the protocol, or answers without a completion code;
/// - EFI_NOT_FOUND if there is no such interface: its status port reads as all ones.
/// *ResponseSize is 0 after the last three, and Response is as it was unless the BMC fell silent or
/// broke the protocol within its answer.
EFI_STATUS
KcsSendToBmc (VOID *Context, const IpmiRequest *Request, UINT8 *Response, UINT8 *ResponseSize);
}
