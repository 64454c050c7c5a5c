/// The CMOS RAM with its two port pairs, the NMI mask, and the chipset register that shows it.
#pragma once

#include <array>

#include "DeviceBus.h"

class SimulatedCmos : public BusDevice {
public:
  explicit SimulatedCmos (DeviceBus &Bus);

  /// The bus face. Throws MachineFault for a direction that a port does not have, and for an access
  /// of the chipset register that is not 4 bytes wide.
  UINT8 IoRead8 (UINT16 Port) override;
  void IoWrite8 (UINT16 Port, UINT8 Value) override;
  UINT32 MmioRead (UINTN Address, UINTN Width) override;
  void MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override;

  std::array<UINT8, 256> Bytes = {};
  UINT32 NmiReadbackControl = 0;
  bool NmiMasked = false;
  UINTN NmiMaskChanges = 0; ///< By writes of the index port.

private:
  UINT8 LowIndex = 0;
  UINT8 HighIndex = 0x80;
};
