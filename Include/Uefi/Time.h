/// Calendar time (UEFI 2.10, 8.3).
#pragma once

#include "Base.h"

struct EFI_TIME {
  UINT16 Year;
  UINT8 Month;
  UINT8 Day;
  UINT8 Hour;
  UINT8 Minute;
  UINT8 Second;
  UINT8 Pad1;
  UINT32 Nanosecond;
  INT16 TimeZone;
  UINT8 Daylight;
  UINT8 Pad2;
};
LAYOUT_OFFSET (EFI_TIME, Month, 2);
LAYOUT_OFFSET (EFI_TIME, Day, 3);
LAYOUT_OFFSET (EFI_TIME, Hour, 4);
LAYOUT_OFFSET (EFI_TIME, Minute, 5);
LAYOUT_OFFSET (EFI_TIME, Second, 6);
LAYOUT_OFFSET (EFI_TIME, Nanosecond, 8);
LAYOUT_OFFSET (EFI_TIME, TimeZone, 12);
LAYOUT_OFFSET (EFI_TIME, Daylight, 14);
LAYOUT_SIZE (EFI_TIME, 16);
