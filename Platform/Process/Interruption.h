/// What becomes of a run when somebody ends its program by SIGINT or SIGTERM.
#pragma once

#include <csignal>

/// While it lives the two signals end no process: they are held back until a Deadline waits, and
/// make its wait throw a MachineError, once for each signal. So everything that the run has made is
/// taken away in order, and the failure can still be looked into.
/// Child processes that are started meanwhile do not get them. One may live at a time.
class Interruption {
public:
  Interruption ();
  ~Interruption ();
  Interruption (const Interruption &) = delete;
  Interruption &operator= (const Interruption &) = delete;

  /// The signals that are held back during a wait; null while none lives: all as they are.
  static const sigset_t *WaitMask ();

  /// Throws the MachineError if one of the signals has come.
  static void Check ();

private:
  sigset_t Mask = {}; ///< As it was before.
  struct sigaction Interrupt = {}, Terminate = {};
};
