/// Starts the modules of a volume in the order that they ask for, as the dispatcher of SMM does (PI
/// 1.8, volume 4, 2.4). Freestanding.
#pragma once

#include "DependencyExpression.h"
#include "VolumeReader.h"

inline constexpr UINTN ModuleMax = 32;

/// What is around a dispatcher. Context is handed to each function.
struct DispatchWorld {
  VOID *Context;
  bool (*IsThere) (VOID *Context, const EFI_GUID *Protocol);

  /// Loads a module and calls its entry, which may install protocols.
  VOID (*Start) (VOID *Context, const SmmModule &Module);

  /// Called for each mention of a protocol that is not there, for a module that was not started;
  /// and, for one that goes with another module which was not started, with that one's name.
  VOID (*Waits) (VOID *Context, const SmmModule &Module, const EFI_GUID &For);
};

/// Starts all of the Count modules, at most ModuleMax, that can be, each once: first the one that
/// comes first in the volume, and again from the start until there are no more. A module without an
/// expression waits for nothing. Then tells what each of the others waits for; an expression that
/// asks that a protocol should not be there waits for no protocol, and Waits is called with an
/// all-zero name. Refuses, ahead of starting any, an expression that is not sound; Offset then
/// counts from the expression, and Refused is the module's number.
[[nodiscard]] VolumeFault
DispatchModules (const SmmModule *Modules, UINTN Count, const DispatchWorld &World, UINTN &Refused);
