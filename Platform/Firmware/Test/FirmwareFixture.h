/// The stand-in firmware after power-on, on the host.
#pragma once

#include <gtest/gtest.h>

#include "Firmware.h"
#include "HostWorld.h"
#include "SmmServices.h"

class Firmware : public testing::Test {
public:
  Firmware ()
  {
    const FirmwareWorld Table = World.Table ();
    FirmwareReset (&Table);
  }

  /// The fault in which Call ends, or "" when it comes back.
  template <typename Callable>
  static std::string
  FaultOf (Callable &&Call)
  {
    try {
      Call ();
      return "";
    } catch (const PlatformFault &Fault) {
      return Fault.what ();
    }
  }

  static EFI_BOOT_SERVICES &
  BootServices ()
  {
    return *FirmwareSystemTable ()->BootServices;
  }

  static void *
  AllocateSmm ()
  {
    void *Block = nullptr;
    EXPECT_EQ (gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 5, &Block), EFI_SUCCESS);
    return Block;
  }

  HostWorld World{2};
};
