/// A BMC behind a KCS interface (IPMI 2.0, chapter 9).
#pragma once

#include <deque>
#include <vector>

#include "DeviceBus.h"

/// The BMC takes at most one byte at each read of the status port, so the host sees full inputs.
/// Throws MachineFault for a write while the input is full, and when the BMC is to put out a byte
/// before its last one has been read.
class SimulatedKcs : public BusDevice {
public:
  explicit SimulatedKcs (DeviceBus &Bus);

  static constexpr UINT16 DataPort = 0xCA2;
  static constexpr UINT16 StatusPort = 0xCA3;

  UINT8 IoRead8 (UINT16 Port) override;
  void IoWrite8 (UINT16 Port, UINT8 Value) override;

  /// What the BMC does wrong. It goes silent, or reports an error once, at the n-th host write of
  /// all, counted from 1. Silent, it leaves its input full or takes the byte without acting on it;
  /// when SilentAt is changed it acts on what it has.
  static constexpr UINTN Never = ~UINTN{0};
  bool Absent = false;
  UINTN SilentAt = Never;
  bool TakesInputWhenSilent = false;
  UINTN ErrorAt = Never;
  std::deque<std::vector<UINT8>> Answers; ///< To the next request, one behind the other.

  /// Complete requests. With no Answers one is answered by its own header, completion code 0 and
  /// its number in this list, from 1.
  std::vector<std::vector<UINT8>> Requests;
  UINTN Writes = 0;
  UINTN StatusReads = 0;

private:
  enum KcsState : UINT8 {
    Idle = 0x00,
    Read = 0x40,
    Write = 0x80,
    Error = 0xC0
  };
  KcsState State = Idle;
  bool InputFull = false, OutputFull = false;
  bool HasInput = false, InputIsCode = false, IsLastByte = false, IsAborting = false;
  UINT8 Input = 0, Output = 0;
  std::vector<UINT8> Request;
  std::deque<std::vector<UINT8>> Pending; ///< Answers not yet begun.
  std::deque<UINT8> Answer;

  void Act ();
  void TakeCode ();
  void TakeData ();
  void PutNext ();
  void Put (KcsState NewState, UINT8 Value);
};
