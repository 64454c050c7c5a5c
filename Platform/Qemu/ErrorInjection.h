/// Hardware errors of each class, as they are injected into the emulated machine.
#pragma once

#include <span>

#include "EmulatedMachine.h"

enum class ErrorTarget {
  Device,   ///< A device behind a root port: nv1, nv2, ...
  Processor ///< A processor by its number, from 0 on.
};

/// How the machine comes to know of an error.
enum class ErrorNotice {
  Interrupt, ///< By an SMI of the root port, or by #MC. The processor must be at rest for that.
  None       ///< A processor must look.
};

struct ErrorKind {
  const char *Name;
  ErrorTarget Target;
  ErrorNotice Notice;
  const char *Help;

  /// Injects the error into the target, which the machine must have: the number of a processor, or
  /// that of the device's slot.
  void (*Inject) (EmulatedMachine &Machine, const MachineOptions &Options, UINTN Number);
};

/// All kinds that there are.
std::span<const ErrorKind> ErrorKinds ();
