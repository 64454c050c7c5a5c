#include "DeviceBus.h"

#include <algorithm>
#include <sstream>
#include <utility>

BusDevice::BusDevice (std::string Called) : Name (std::move (Called)) {}

UINT8
BusDevice::IoRead8 (UINT16)
{
  throw MachineFault (Name + " has no input port");
}

void
BusDevice::IoWrite8 (UINT16, UINT8)
{
  throw MachineFault (Name + " has no output port");
}

UINT32
BusDevice::MmioRead (UINTN, UINTN)
{
  throw MachineFault (Name + " has no readable memory");
}

void
BusDevice::MmioWrite (UINTN, UINTN, UINT32)
{
  throw MachineFault (Name + " has no writable memory");
}

void
DeviceBus::Claim (BusDevice &Device, BusSpace Space, UINT64 First, UINT64 Size)
{
  Ranges &Claimed = Claims[static_cast<int> (Space)];
  const UINT64 Last = First + Size - 1;
  // Of the ranges that begin at or ahead of Last only the last one can reach First.
  const auto Next = Claimed.upper_bound (Last);
  if (Next != Claimed.begin ()) {
    const auto &[OtherFirst, Other] = *std::prev (Next);
    if (Other.Device == &Device && OtherFirst <= First && Last <= Other.Last) {
      return;
    }
    if (Other.Last >= First) {
      std::ostringstream Text;
      Text << std::hex << std::uppercase << Device.Name << " and " << Other.Device->Name
           << " both claim " << (Space == BusSpace::Ports ? "port 0x" : "memory at 0x")
           << std::max (First, OtherFirst);
      throw std::invalid_argument (Text.str ());
    }
  }
  Claimed[First] = {Last, &Device};
}

void
DeviceBus::Release (const BusDevice &Device)
{
  for (Ranges &Claimed : Claims) {
    std::erase_if (Claimed, [&] (const auto &Each) { return Each.second.Device == &Device; });
  }
}

/// The device that has all of an access, or null.
BusDevice *
DeviceBus::Find (BusSpace Space, UINT64 Address, UINTN Width)
{
  const Ranges &Claimed = Claims[static_cast<int> (Space)];
  const auto Next = Claimed.upper_bound (Address);
  if (Next == Claimed.begin () || std::prev (Next)->second.Last < Address + Width - 1) {
    return nullptr;
  }
  return std::prev (Next)->second.Device;
}

UINT8
DeviceBus::IoRead8 (UINT16 Port)
{
  BusDevice *Device = Find (BusSpace::Ports, Port);
  if (Device == nullptr) {
    return HostMachine::IoRead8 (Port);
  }
  const UINT8 Value = Device->IoRead8 (Port);
  RecordAccess (Device->Transcript, "io in", Port, 1, Value);
  return Value;
}

void
DeviceBus::IoWrite8 (UINT16 Port, UINT8 Value)
{
  BusDevice *Device = Find (BusSpace::Ports, Port);
  if (Device == nullptr) {
    return HostMachine::IoWrite8 (Port, Value);
  }
  RecordAccess (Device->Transcript, "io out", Port, 1, Value);
  Device->IoWrite8 (Port, Value);
}

UINT32
DeviceBus::MmioRead (UINTN Address, UINTN Width)
{
  BusDevice *Device = Find (BusSpace::Memory, Address, Width);
  if (Device == nullptr) {
    return HostMachine::MmioRead (Address, Width);
  }
  const UINT32 Value = Device->MmioRead (Address, Width);
  RecordAccess (Device->Transcript, "mmio in", Address, Width, Value);
  return Value;
}

void
DeviceBus::MmioWrite (UINTN Address, UINTN Width, UINT32 Value)
{
  BusDevice *Device = Find (BusSpace::Memory, Address, Width);
  if (Device == nullptr) {
    return HostMachine::MmioWrite (Address, Width, Value);
  }
  RecordAccess (Device->Transcript, "mmio out", Address, Width, Value);
  Device->MmioWrite (Address, Width, Value);
}
