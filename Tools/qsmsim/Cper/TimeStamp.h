/// Times of error records (UEFI 2.10, N.2.1).
#pragma once

#include <string>

#include "Base.h"

/// How a time is written.
enum class TimeStampForm {
  Bcd,    ///< As the standard has it.
  Binary, ///< With plain numbers, as some writers do.
  None,   ///< It is no time.
};

struct TimeStamp {
  TimeStampForm Form;
  bool Precise;     ///< Else it is about when the error happened.
  std::string Text; ///< "2025-01-16T19:04:48", or the eight bytes of what is no time.
};

TimeStamp ReadTimeStamp (UINT64 Field);
