/// The shared buffer "RasAcpiParam", the one that lies outside SMM memory.
#pragma once

#include "Base.h"

inline constexpr CHAR16 RasAcpiParamName[] = u"RasAcpiParam";

/// What each byte of the entries starts with.
inline constexpr UINT8 RAS_ACPI_PARAM_UNSET = 0xFF;

struct [[gnu::packed]] RasAcpiParam {
  UINT8 Reserved0[2];
  UINT16 ParamWord; ///< Starts as 0.
  UINT8 Entries[3200];
  UINT8 Reserved1[22];
};
LAYOUT_OFFSET (RasAcpiParam, ParamWord, 2);
LAYOUT_OFFSET (RasAcpiParam, Entries, 4);
LAYOUT_SIZE (RasAcpiParam, 3226);
