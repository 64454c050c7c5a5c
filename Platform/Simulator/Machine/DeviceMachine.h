/// A machine of devices alone, for the test of a module that drives one of them.
#pragma once

#include "HostMachine.h"
#include "SimulatedCmos.h"
#include "SimulatedUart.h"

/// An access that reaches no device throws MachineFault.
class DeviceMachine : public HostMachine {
public:
  DeviceMachine ();

  UINT8 IoRead8 (UINT16 Port) override;
  void IoWrite8 (UINT16 Port, UINT8 Value) override;
  UINT32 MmioRead (UINTN Address, UINTN Width) override;
  void MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override;

  SimulatedCmos Cmos;
  SimulatedUart Uart;
  AccessTranscript Transcript; ///< Of all devices.
};
