/// Hardware errors of each class, as they are injected into the emulated machine.
#pragma once

#include <span>

#include "EmulatedMachine.h"

/// What a kind of errors can be injected into: so many of its sort, numbered in a row.
struct ErrorTarget {
  const char *Name;   ///< What it is, as the help has it.
  const char *Prefix; ///< Stands ahead of the number.
  UINTN First;
  UINTN (*Count) (const MachineOptions &Options);
};

/// How the machine comes to know of an error.
enum class ErrorNotice {
  Interrupt, ///< By an SMI of the root port, or by #MC. The processor must be at rest for that.
  None       ///< A processor must look.
};

struct ErrorKind {
  const char *Name;
  const ErrorTarget &Target;
  ErrorNotice Notice;
  const char *Help;

  /// Injects the error into the target of that number, which the machine must have.
  void (*Inject) (EmulatedMachine &Machine, const MachineOptions &Options, UINTN Number);
};

/// All kinds that there are.
std::span<const ErrorKind> ErrorKinds ();
