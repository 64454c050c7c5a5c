/// The bench on which one RAS module is tested: with a heap, a store of shared buffers and a serial
/// port to log to.
#pragma once

#include <functional>

#include "FirmwareTestBench.h"

/// The machine of the bench, watched while a port is written to.
class WatchedMachine : public HostMachine {
public:
  explicit WatchedMachine (SimulatedMachine &Watched) : Machine (Watched) {}

  UINT8
  IoRead8 (UINT16 Port) override
  {
    return Machine.IoRead8 (Port);
  }

  void
  IoWrite8 (UINT16 Port, UINT8 Value) override
  {
    OnWrite ();
    Machine.IoWrite8 (Port, Value);
  }

  UINT32
  MmioRead (UINTN Address, UINTN Width) override
  {
    return Machine.MmioRead (Address, Width);
  }

  void
  MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override
  {
    Machine.MmioWrite (Address, Width, Value);
  }

  SimulatedMachine &Machine;
  std::function<void ()> OnWrite;
};

/// Fixture. Starts with the constructors done on which the RAS modules rest, and with a mask that
/// lets no line of the RAS debug log through.
class RasTestBench : public FirmwareTestBench {
public:
  RasTestBench ();

  /// Leaves the log's mask in a HOB, as an earlier boot phase would. To be called ahead of the
  /// first line.
  static void SetLevelMask (UINT32 Mask);

  /// What has been sent by the serial port since the last call.
  std::string TakeSent ();

  /// The buffer of that name in the store; null when there is none.
  template <typename Record>
  static Record *
  SharedBuffer (const CHAR16 *Name)
  {
    return static_cast<Record *> (FindSharedBuffer (Name));
  }

private:
  static VOID *FindSharedBuffer (const CHAR16 *Name);
};
