/// The bus of a simulated machine: which device answers at which port and address.
#pragma once

#include <map>
#include <string>

#include "AccessTranscript.h"
#include "HostMachine.h"

/// What addresses of the bus are of.
enum class BusSpace : UINT8 {
  Ports,
  Memory,
};

/// A device on the bus. It is asked only for what it has claimed; what it does not override faults.
class BusDevice {
public:
  explicit BusDevice (std::string Called);
  virtual ~BusDevice () = default;

  virtual UINT8 IoRead8 (UINT16 Port);
  virtual void IoWrite8 (UINT16 Port, UINT8 Value);
  virtual UINT32 MmioRead (UINTN Address, UINTN Width);
  virtual void MmioWrite (UINTN Address, UINTN Width, UINT32 Value);

  std::string Name;                       ///< For people.
  AccessTranscript *Transcript = nullptr; ///< Receives every access by the bus, unless null.
};

/// An access of which no device has claimed every byte throws MachineFault.
class DeviceBus : public HostMachine {
public:
  /// Gives Size addresses from First on to a device, which outlives the last access. Throws
  /// std::invalid_argument if another one has any of them. A device may claim again what it has.
  void Claim (BusDevice &Device, BusSpace Space, UINT64 First, UINT64 Size);

  /// Takes all its addresses from a device.
  void Release (const BusDevice &Device);

  UINT8 IoRead8 (UINT16 Port) override;
  void IoWrite8 (UINT16 Port, UINT8 Value) override;
  UINT32 MmioRead (UINTN Address, UINTN Width) override;
  void MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override;

private:
  struct Range {
    UINT64 Last;
    BusDevice *Device;
  };
  using Ranges = std::map<UINT64, Range>; ///< By their first address.
  Ranges Claims[2];                       ///< By BusSpace.

  BusDevice *Find (BusSpace Space, UINT64 Address, UINTN Width = 1);
};
