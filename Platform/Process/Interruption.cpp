#include "Interruption.h"

#include <fmt/format.h>

#include "MachineError.h"

namespace {

const sigset_t *CurrentMask = nullptr;
volatile std::sig_atomic_t Caught = 0;

} // namespace

Interruption::Interruption ()
{
  struct sigaction Action = {};
  Action.sa_handler = [] (int Number) { Caught = Number; };
  sigset_t Signals;
  sigemptyset (&Signals);
  sigaddset (&Signals, SIGINT);
  sigaddset (&Signals, SIGTERM);
  sigprocmask (SIG_BLOCK, &Signals, &Mask);
  sigaction (SIGINT, &Action, &Interrupt);
  sigaction (SIGTERM, &Action, &Terminate);
  Caught = 0;
  CurrentMask = &Mask;
}

Interruption::~Interruption ()
{
  CurrentMask = nullptr;
  sigaction (SIGINT, &Interrupt, nullptr);
  sigaction (SIGTERM, &Terminate, nullptr);
  sigprocmask (SIG_SETMASK, &Mask, nullptr);
}

const sigset_t *
Interruption::WaitMask ()
{
  return CurrentMask;
}

void
Interruption::Check ()
{
  if (const int Number = Caught; CurrentMask != nullptr && Number != 0) {
    Caught = 0;
    throw MachineError (fmt::format ("interrupted by signal {}", Number));
  }
}
