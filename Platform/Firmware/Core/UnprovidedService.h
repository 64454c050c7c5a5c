/// Entries of service tables that the firmware does not provide.
#pragma once

#include "FirmwareWorld.h"

/// A text that can be a template's argument.
struct ServiceName {
  CHAR8 Text[80] = {};

  template <UINTN Size> consteval ServiceName (const CHAR8 (&Name)[Size])
  {
    static_assert (Size <= sizeof Text);
    for (UINTN Index = 0; Index < Size; ++Index) {
      Text[Index] = Name[Index];
    }
  }
};

/// Stands in a table for the service of this name: whoever calls it faults.
template <ServiceName Name>
VOID EFIAPI
UnprovidedService ()
{
  FirmwareFault (Name.Text);
}
