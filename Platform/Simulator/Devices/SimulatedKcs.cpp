#include "SimulatedKcs.h"

#include <utility>

SimulatedKcs::SimulatedKcs (DeviceBus &Bus) : BusDevice ("the KCS interface")
{
  Bus.Claim (*this, BusSpace::Ports, DataPort, 1);
  Bus.Claim (*this, BusSpace::Ports, StatusPort, 1);
}

UINT8
SimulatedKcs::IoRead8 (UINT16 Port)
{
  if (Absent) {
    StatusReads += Port == StatusPort ? 1 : 0;
    return 0xFF;
  }
  if (Port == DataPort) {
    OutputFull = false;
    return Output;
  }
  ++StatusReads;
  const auto Status = static_cast<UINT8> (State | (InputFull ? 2 : 0) | (OutputFull ? 1 : 0));
  Act ();
  return Status;
}

void
SimulatedKcs::IoWrite8 (UINT16 Port, UINT8 Value)
{
  if (InputFull) {
    throw MachineFault ("a write while the input is full");
  }
  ++Writes;
  Input = Value;
  InputIsCode = Port == StatusPort;
  InputFull = HasInput = true;
}

void
SimulatedKcs::Act ()
{
  if (Writes >= SilentAt) {
    InputFull = InputFull && !TakesInputWhenSilent;
    return;
  }
  if (!HasInput) {
    if (State == Idle && !OutputFull && !Pending.empty ()) {
      PutNext ();
    }
    return;
  }
  HasInput = InputFull = false;
  if (Writes == ErrorAt) {
    ErrorAt = Never;
    State = Error;
  } else if (InputIsCode) {
    TakeCode ();
  } else {
    TakeData ();
  }
}

void
SimulatedKcs::TakeCode ()
{
  switch (Input) {
  case 0x60:
    State = Error;
    IsAborting = true;
    Answer.clear ();
    break;
  case 0x61:
    State = State == Idle ? Write : Error;
    Request.clear ();
    IsLastByte = false;
    break;
  case 0x62:
    IsLastByte = true;
    break;
  default:
    State = Error;
  }
}

void
SimulatedKcs::TakeData ()
{
  if (IsAborting) {
    IsAborting = false;
    Pending = {{0x01}};
    State = Idle;
    PutNext ();
  } else if (State == Write) {
    Request.push_back (Input);
    if (IsLastByte) {
      Requests.push_back (Request);
      Pending = std::exchange (Answers, {});
      if (Pending.empty ()) {
        Pending.push_back ({static_cast<UINT8> (Request[0] | 4), Request[1], 0,
                            static_cast<UINT8> (Requests.size ())});
      }
      State = Idle;
      PutNext ();
    }
  } else if (State == Read && Input == 0x68) {
    PutNext ();
  } else {
    State = Error;
  }
}

/// Puts out the next byte of the answer, or the one that ends it.
void
SimulatedKcs::PutNext ()
{
  if (State == Idle) {
    Answer.assign (Pending.front ().begin (), Pending.front ().end ());
    Pending.pop_front ();
  }
  if (Answer.empty ()) {
    Put (Idle, 0);
    return;
  }
  const UINT8 Byte = Answer.front ();
  Answer.pop_front ();
  Put (Read, Byte);
}

void
SimulatedKcs::Put (KcsState NewState, UINT8 Value)
{
  if (OutputFull) {
    throw MachineFault ("the BMC has a byte to give, and its last one has not been read");
  }
  State = NewState;
  Output = Value;
  OutputFull = true;
}
