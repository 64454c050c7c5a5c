/// Completion codes, with which a BMC answers (IPMI 2.0, table 5-2).
#pragma once

#include <optional>
#include <string>

#include "Base.h"

enum CompletionCode : UINT8 {
  CompletionNormal = 0x00,
  CompletionInvalidCommand = 0xC1,
  CompletionInvalidForLun = 0xC2,
  CompletionOutOfSpace = 0xC4,
  CompletionDataLengthInvalid = 0xC7,
  CompletionDataFieldInvalid = 0xCC,
  CompletionUnspecified = 0xFF
};

/// "0xC1, invalid command"; a code of a range that is left to others has that for a name.
std::string CompletionCodeText (UINT8 Code);

/// The code's name alone.
std::string CompletionCodeName (UINT8 Code);

/// The code of a name with dashes for its blanks, "invalid-command", if there is one.
std::optional<UINT8> FindCompletionCode (const std::string &Name);
