/// A bench with a serial port.
#pragma once

#include "BaseSerialPortLib16550.h"
#include "DeviceMachine.h"
#include "ModuleTestBench.h"

class SerialPortBench : public ModuleTestBench {
public:
  SerialPortBench ()
  {
    UseMachine (Machine);
  }

  /// Sends Text and returns the number of bytes that went out, as the driver says.
  static UINTN
  Write (const std::string &Text)
  {
    return SerialPortWrite (reinterpret_cast<const UINT8 *> (Text.data ()), Text.size ());
  }

  DeviceMachine Machine;
  SimulatedUart &Uart = Machine.Uart;
};
