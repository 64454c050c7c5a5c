/// What the firmware needs of the world in which it runs: a process of the host, or the emulated
/// machine.
#pragma once

#include "ProcessorPlace.h"

/// The memory that an allocation service gives out of.
enum PoolKind : UINT8 {
  PoolSmm,
  PoolBoot,
};
inline constexpr UINTN PoolKindCount = 2;

/// Where the blocks of a pool lie. Start is a multiple of 16.
struct PoolMemory {
  UINT8 *Start;
  UINTN Size;
};

/// Bytes around each block that nobody may touch: a world that guards its blocks has these for it.
inline constexpr UINTN PoolGuardAhead = 24;
inline constexpr UINTN PoolGuardBehind = 8;

/// One command to the BMC. Data belongs to the sender and is valid during the call only.
struct IpmiRequest {
  UINT8 NetFunction;
  UINT8 Lun;
  UINT8 Command;
  UINT8 DataSize;
  const UINT8 *Data;
};

enum DebugEntryKind : UINT8 {
  DebugMessage,
  DebugAssertion,
};

/// One message or assertion that reached the debug service. All texts are valid during the call
/// only; those that do not belong to the kind are null.
struct DebugEntry {
  DebugEntryKind Kind;
  UINTN Processor;         ///< Index of the processor that executes.
  const CHAR8 *ModuleName; ///< Null from a client that does not pass its name.
  const CHAR8 *Text;       ///< What a reader sees, the line end included.

  UINTN Level;         ///< Of a message.
  const CHAR8 *Format; ///< Of a message, as the client passed it.

  const CHAR8 *FileName; ///< Of an assertion.
  UINTN LineNumber;
  const CHAR8 *Description;
};

/// The functions that each world fills. Context goes back to each of them as it is. They may be
/// called by several processors at once.
struct FirmwareWorld {
  VOID *Context;
  UINTN NumberOfProcessors;

  PoolMemory Pools[PoolKindCount]; ///< By PoolKind.

  /// The range of SMRAM that the SMM core has for itself, and what the chipset adds to a
  /// processor's address of SMRAM.
  UINT64 CoreStart;
  UINT64 CoreSize;
  UINT64 SmramOffset;

  /// Where the chipset maps the configuration space of segment 0. Those of the other segments
  /// follow it.
  UINT64 PciExpressBase;
  UINTN PciSegmentCount;

  /// Makes Size bytes at Block usable, and guards what lies around them.
  VOID (*OpenBlock) (VOID *Context, UINT8 *Block, UINTN Size);

  /// The block is gone. Returns whether nobody wrote to its guards, as far as that can be told.
  bool (*CloseBlock) (VOID *Context, UINT8 *Block, UINTN Size);

  /// Messages go nowhere, and are not even composed.
  bool IsQuiet = false;

  /// Receives each message and each assertion, in the order in which a processor makes them.
  VOID (*DebugOutput) (VOID *Context, const DebugEntry *Entry);

  /// Sends one request to the BMC and waits for its answer. *ResponseSize is the room in Response
  /// and becomes the number of bytes written; the first is the completion code.
  EFI_STATUS (*SendToBmc)
  (VOID *Context, const IpmiRequest *Request, UINT8 *Response, UINT8 *ResponseSize);

  /// Index of the processor that executes the call, below NumberOfProcessors.
  UINTN (*ExecutingProcessor) (VOID *Context);

  /// Where a processor stands. Index is below NumberOfProcessors.
  ProcessorPlace (*PlaceOfProcessor) (VOID *Context, UINTN Index);

  /// Ends the run: somebody broke a rule of the platform, and Text says which. Does not return. It
  /// may throw: the firmware holds nothing while it calls its world or a driver, but for the lock
  /// of the pools at OpenBlock and CloseBlock, which come back.
  VOID (*Fault) (VOID *Context, const CHAR8 *Text);
};

extern "C" {

/// The world of this boot, as FirmwareReset was given it.
extern FirmwareWorld gWorld;

/// Ends the run in the way of this world.
[[noreturn]] VOID FirmwareFault (const CHAR8 *Text);
}
