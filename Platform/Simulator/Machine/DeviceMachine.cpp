#include "DeviceMachine.h"

DeviceMachine::DeviceMachine ()
{
  Cmos.Transcript = &Transcript;
  Uart.Transcript = &Transcript;
}

UINT8
DeviceMachine::IoRead8 (UINT16 Port)
{
  if (SimulatedCmos::OwnsPort (Port)) {
    return Cmos.IoRead8 (Port);
  }
  return SimulatedUart::OwnsPort (Port) ? Uart.IoRead8 (Port) : HostMachine::IoRead8 (Port);
}

void
DeviceMachine::IoWrite8 (UINT16 Port, UINT8 Value)
{
  if (SimulatedCmos::OwnsPort (Port)) {
    Cmos.IoWrite8 (Port, Value);
  } else if (SimulatedUart::OwnsPort (Port)) {
    Uart.IoWrite8 (Port, Value);
  } else {
    HostMachine::IoWrite8 (Port, Value);
  }
}

UINT32
DeviceMachine::MmioRead (UINTN Address, UINTN Width)
{
  return SimulatedCmos::OwnsAddress (Address) ? Cmos.MmioRead (Address, Width)
                                              : HostMachine::MmioRead (Address, Width);
}

void
DeviceMachine::MmioWrite (UINTN Address, UINTN Width, UINT32 Value)
{
  if (!SimulatedCmos::OwnsAddress (Address)) {
    HostMachine::MmioWrite (Address, Width, Value);
  }
  Cmos.MmioWrite (Address, Width, Value);
}
