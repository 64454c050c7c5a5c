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

  /// One text behind the other.
  constexpr ServiceName (const ServiceName &First, const ServiceName &Second) : ServiceName (First)
  {
    UINTN End = 0;
    while (Text[End] != 0) {
      ++End;
    }
    for (UINTN Index = 0; Second.Text[Index] != 0; ++Index) {
      Text[End + Index] = Second.Text[Index];
    }
  }
};

/// Stands in a table for a service: whoever calls it faults with both texts.
template <ServiceName Whose, ServiceName Name = "">
VOID EFIAPI
UnprovidedService ()
{
  static constexpr ServiceName Fault (Whose, Name);
  FirmwareFault (Fault.Text);
}

/// Stands in Whose table for its Entry. Whose is a ServiceName and ends with a space.
#define UNPROVIDED(Whose, Entry) UnprovidedService<Whose, #Entry>
