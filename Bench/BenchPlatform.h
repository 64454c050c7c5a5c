/// The driver on a platform whose own cost is next to nothing: a debug service and an IPMI
/// transport that discard, and an inventory of any size.
#pragma once

#include "BenchInventory.h"
#include "Protocol/SmmRscHandler.h"
#include "SimulatedPlatform.h"

class BenchPlatform {
public:
  BenchPlatform ();

  /// Fills the inventory with Count devices of type DeviceType; the error that Record gives then
  /// belongs to the one at Place.
  void FillInventory (UINT8 DeviceType, UINTN Count, MatchPlace Place);

  /// The data of a status code with a fatal error of a class.
  EFI_STATUS_CODE_DATA *Record (UINT8 ErrorClass);

  /// Calls the driver's listener with such data.
  void Report (EFI_STATUS_CODE_DATA *Data);

private:
  SimulatedPlatform Platform;
  EFI_SMM_RSC_HANDLER_CALLBACK Listener;
  BenchInventory Inventory;
};
