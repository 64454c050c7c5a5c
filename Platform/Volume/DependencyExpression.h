/// Dependency expressions: what a module waits for (PI 1.8, volume 2, 10.7 and volume 4, 2.4).
/// Freestanding.
#pragma once

#include "Uefi/FirmwareVolume.h"
#include "VolumeFault.h"

/// Answers whether a protocol is there.
struct ProtocolQuestion {
  VOID *Context;
  bool (*IsThere) (VOID *Context, const EFI_GUID *Protocol);
};

/// What an expression asks for.
enum DependencyKind : UINT8 {
  DependsOnProtocols, ///< Holds, or waits for protocols.
  DependsBefore,      ///< Goes directly ahead of the module of that name.
  DependsAfter,       ///< Goes directly behind the module of that name.
};

struct Dependency {
  DependencyKind Kind;
  bool Holds;      ///< Of protocols.
  EFI_GUID Module; ///< Of the other two kinds.
};

/// Evaluates the Size bytes at Expression into Answer. Every protocol of the expression is asked
/// for, in the order of its text, whatever the answer comes to. Refuses an opcode that there is
/// not, one that lacks its GUID or its operands, more than 32 operands at a time, and what does not
/// end with END.
[[nodiscard]] VolumeFault EvaluateDependency (const UINT8 *Expression,
                                              UINTN Size,
                                              const ProtocolQuestion &Question,
                                              Dependency &Answer);
