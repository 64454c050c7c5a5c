#include "KcsTransport.h"

#include "Machine.h"
#include "ProcessorLock.h"
#include "WritableWhenLocked.h"

namespace {

/// The status register (IPMI 2.0, 9.7). The state of the transfer stands in its top two bits.
constexpr UINT8 StatusOutputFull = 0x01;
constexpr UINT8 StatusInputFull = 0x02;
constexpr UINT8 StatusStateMask = 0xC0;
constexpr UINT8 StateIdle = 0x00;
constexpr UINT8 StateRead = 0x40;
constexpr UINT8 StateWrite = 0x80;
constexpr UINT8 StateError = 0xC0;

/// What is read where nothing answers, and how often in a row a real interface cannot give it.
constexpr UINT8 StatusAbsent = 0xFF;
constexpr UINTN AbsentReadCount = 16;

/// Control codes (IPMI 2.0, 9.10).
constexpr UINT8 GetStatusAbort = 0x60;
constexpr UINT8 WriteStart = 0x61;
constexpr UINT8 WriteEnd = 0x62;
constexpr UINT8 ReadNext = 0x68;

/// NetFn with LUN, and Cmd, ahead of the data of a request or, from the completion code on, of an
/// answer. The NetFn of an answer is that of its request with the lowest bit set.
constexpr UINTN MessageHeaderSize = 2;
constexpr UINT8 AnswerNetFunctionBit = 0x01;

/// Is with the processor that has the interface.
WRITABLE_WHEN_LOCKED constinit ProcessorLock mLock = false;

/// Polls of all transfers so far; wraps.
WRITABLE_WHEN_LOCKED constinit UINT32 mPollCount = 0;

bool
IsAbsent ()
{
  for (UINTN Reads = 0; Reads < AbsentReadCount; ++Reads) {
    if (IoRead8 (KCS_STATUS_PORT) != StatusAbsent) {
      return false;
    }
  }
  return true;
}

/// Reads the status, and takes one of the polls that are left; false when there is none.
bool
Poll (UINT32 *PollsLeft, UINT8 *Status)
{
  if (*PollsLeft == 0) {
    return false;
  }
  --*PollsLeft;
  __atomic_add_fetch (&mPollCount, 1, __ATOMIC_RELAXED);
  CpuPause ();
  *Status = IoRead8 (KCS_STATUS_PORT);
  return true;
}

/// Waits for the interface by the polls of those who have it, and takes no time of the bus from
/// them.
bool
AcquireLock ()
{
  const UINT32 Start = __atomic_load_n (&mPollCount, __ATOMIC_RELAXED);
  UINT32 Last = Start;
  UINT32 PausesWithoutPoll = 0;
  while (!TryLock (mLock)) {
    const UINT32 Now = __atomic_load_n (&mPollCount, __ATOMIC_RELAXED);
    PausesWithoutPoll = Now == Last ? PausesWithoutPoll + 1 : 0;
    Last = Now;
    if (Now - Start >= KCS_LOCK_POLL_COUNT_MAX || PausesWithoutPoll > KCS_LOCK_PAUSE_COUNT_MAX) {
      return false;
    }
    CpuPause ();
  }
  return true;
}

/// Waits until the BMC has taken what was written, and drains what it has put out. Stores the state
/// of the transfer. The state is valid only while the input is empty (IPMI 2.0, 9.7).
EFI_STATUS
WaitInputEmpty (UINT32 *PollsLeft, UINT8 *State)
{
  UINT8 Status = 0;
  do {
    if (!Poll (PollsLeft, &Status)) {
      return EFI_TIMEOUT;
    }
  } while ((Status & StatusInputFull) != 0);
  if ((Status & StatusOutputFull) != 0) {
    (void)IoRead8 (KCS_DATA_PORT);
  }
  *State = Status & StatusStateMask;
  return EFI_SUCCESS;
}

/// Waits until the BMC has taken what was written. Another state than the expected one is an error.
EFI_STATUS
ExpectState (UINT32 *PollsLeft, UINT8 Expected)
{
  UINT8 State = 0;
  const EFI_STATUS Status = WaitInputEmpty (PollsLeft, &State);
  if (EFI_ERROR (Status)) {
    return Status;
  }
  return State == Expected ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

/// Waits for a byte of the BMC, and stores it with the state in which it came: StateRead for a byte
/// of the answer, StateIdle for the one that follows the last.
EFI_STATUS
ReadByte (UINT32 *PollsLeft, UINT8 *Byte, UINT8 *State)
{
  UINT8 Status = 0;
  do {
    if (!Poll (PollsLeft, &Status)) {
      return EFI_TIMEOUT;
    }
    if ((Status & StatusInputFull) == 0 && (Status & StatusStateMask) == StateError) {
      return EFI_DEVICE_ERROR;
    }
  } while ((Status & StatusInputFull) != 0 || (Status & StatusOutputFull) == 0 ||
           (Status & StatusStateMask) == StateWrite);
  *Byte = IoRead8 (KCS_DATA_PORT);
  *State = Status & StatusStateMask;
  return EFI_SUCCESS;
}

/// Aborts whatever transfer is under way (IPMI 2.0, figure 9-8).
EFI_STATUS
AbortTransfer (UINT32 *PollsLeft)
{
  IoWrite8 (KCS_STATUS_PORT, GetStatusAbort);
  UINT8 State = 0;
  EFI_STATUS Status = WaitInputEmpty (PollsLeft, &State);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  // The BMC tells why, which nobody asks here, and ends as it ends an answer.
  IoWrite8 (KCS_DATA_PORT, 0);
  UINT8 Reason = 0;
  Status = ReadByte (PollsLeft, &Reason, &State);
  if (EFI_ERROR (Status) || State != StateRead) {
    return EFI_ERROR (Status) ? Status : EFI_DEVICE_ERROR;
  }
  IoWrite8 (KCS_DATA_PORT, ReadNext);
  Status = ReadByte (PollsLeft, &Reason, &State);
  if (EFI_ERROR (Status) || State != StateIdle) {
    return EFI_ERROR (Status) ? Status : EFI_DEVICE_ERROR;
  }
  return EFI_SUCCESS;
}

/// Brings the interface into the state in which a transfer may start: idle, and nothing put out.
/// What must be waited for here is left of an earlier transfer, which has had its time.
EFI_STATUS
PrepareTransfer ()
{
  UINT32 PollsLeft = KCS_RECOVERY_POLL_COUNT_MAX;
  UINT8 State = 0;
  const EFI_STATUS Status = WaitInputEmpty (&PollsLeft, &State);
  if (EFI_ERROR (Status) || State == StateIdle) {
    return Status;
  }
  return AbortTransfer (&PollsLeft);
}

constexpr UINT8
NetFunctionAndLun (const IpmiRequest *Request, UINT8 AnswerBit)
{
  return static_cast<UINT8> ((Request->NetFunction | AnswerBit) << 2 | (Request->Lun & 3));
}

/// Writes all bytes of a request (IPMI 2.0, figure 9-6). An error means that the BMC has not got
/// the last one.
EFI_STATUS
WriteRequest (UINT32 *PollsLeft, const IpmiRequest *Request)
{
  IoWrite8 (KCS_STATUS_PORT, WriteStart);
  const UINTN Size = MessageHeaderSize + Request->DataSize;
  for (UINTN Index = 0; Index < Size; ++Index) {
    EFI_STATUS Status = ExpectState (PollsLeft, StateWrite);
    if (!EFI_ERROR (Status) && Index == Size - 1) {
      IoWrite8 (KCS_STATUS_PORT, WriteEnd);
      Status = ExpectState (PollsLeft, StateWrite);
    }
    if (EFI_ERROR (Status)) {
      return Status;
    }
    UINT8 Byte = 0;
    switch (Index) {
    case 0:
      Byte = NetFunctionAndLun (Request, 0);
      break;
    case 1:
      Byte = Request->Command;
      break;
    default:
      Byte = Request->Data[Index - MessageHeaderSize];
      break;
    }
    IoWrite8 (KCS_DATA_PORT, Byte);
  }
  return EFI_SUCCESS;
}

/// Reads one answer to its end (IPMI 2.0, figure 9-7), and drops what Room does not hold. *Size
/// becomes the bytes behind the header, whether they are stored or not; none are stored of an
/// answer to another request, which leaves *IsOurs false.
EFI_STATUS
ReadAnswer (UINT32 *PollsLeft,
            const IpmiRequest *Request,
            UINT8 *Response,
            UINTN Room,
            UINTN *Size,
            bool *IsOurs)
{
  const UINT8 Header[MessageHeaderSize] = {NetFunctionAndLun (Request, AnswerNetFunctionBit),
                                           Request->Command};
  *IsOurs = true;
  for (UINTN Index = 0;; ++Index) {
    UINT8 Byte = 0;
    UINT8 State = StateIdle;
    const EFI_STATUS Status = ReadByte (PollsLeft, &Byte, &State);
    if (EFI_ERROR (Status)) {
      return Status;
    }
    if (State == StateIdle) {
      *Size = Index > MessageHeaderSize ? Index - MessageHeaderSize : 0;
      return *Size > 0 ? EFI_SUCCESS : EFI_DEVICE_ERROR;
    }
    if (Index < MessageHeaderSize) {
      *IsOurs = *IsOurs && Byte == Header[Index];
    } else if (*IsOurs && Index - MessageHeaderSize < Room) {
      Response[Index - MessageHeaderSize] = Byte;
    }
    IoWrite8 (KCS_DATA_PORT, ReadNext);
  }
}

/// Hands over the request, again if the BMC refuses it before its last byte.
EFI_STATUS
SendRequest (UINT32 *PollsLeft, const IpmiRequest *Request)
{
  EFI_STATUS Status = EFI_DEVICE_ERROR;
  for (UINTN Attempt = 0; Attempt < KCS_ATTEMPT_COUNT_MAX && Status == EFI_DEVICE_ERROR;
       ++Attempt) {
    Status = PrepareTransfer ();
    if (!EFI_ERROR (Status)) {
      Status = WriteRequest (PollsLeft, Request);
    }
  }
  return Status;
}

EFI_STATUS
Transfer (const IpmiRequest *Request, UINT8 *Response, UINTN Room, UINT8 *ResponseSize)
{
  if (IsAbsent ()) {
    return EFI_NOT_FOUND;
  }
  UINT32 PollsLeft = KCS_POLL_COUNT_MAX;
  EFI_STATUS Status = SendRequest (&PollsLeft, Request);
  UINTN Size = 0;
  bool IsOurs = false;
  while (!EFI_ERROR (Status) && !IsOurs) {
    Status = ReadAnswer (&PollsLeft, Request, Response, Room, &Size, &IsOurs);
  }
  if (EFI_ERROR (Status)) {
    return Status;
  }
  *ResponseSize = static_cast<UINT8> (Size < Room ? Size : Room);
  return Size > Room ? EFI_BUFFER_TOO_SMALL : EFI_SUCCESS;
}

} // namespace

EFI_STATUS
KcsSendToBmc (VOID *, const IpmiRequest *Request, UINT8 *Response, UINT8 *ResponseSize)
{
  const UINTN Room = *ResponseSize;
  *ResponseSize = 0;
  if (!AcquireLock ()) {
    return EFI_TIMEOUT;
  }
  const EFI_STATUS Status = Transfer (Request, Response, Room, ResponseSize);
  GiveLock (mLock);
  return Status;
}
