/// Which events the module for ipmi_sim takes: docs/event.md, written down once more.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

using Byte = unsigned char;

/// The request: a byte 0, class, severity, and an id of at most 150 bytes with its NUL.
constexpr std::size_t ClassAt = 1, SeverityAt = 2, IdAt = 3;
constexpr std::size_t SizeMin = IdAt + 1, SizeMax = IdAt + 150;

/// Completion codes (IPMI 2.0, table 5-2).
enum : Byte {
  Completed = 0x00,
  LunInvalid = 0xC2,
  OutOfSpace = 0xC4,
  LengthInvalid = 0xC7,
  FieldInvalid = 0xCC,
};

/// Completed if that is an event for the LUN, or what to answer instead.
inline Byte
JudgeEvent (Byte Lun, std::span<const Byte> Request)
{
  if (Lun != 0) {
    return LunInvalid;
  }
  if (Request.size () < SizeMin || Request.size () > SizeMax) {
    return LengthInvalid;
  }
  const auto IsBetween = [] (Byte Low, Byte High) {
    return [=] (Byte Value) { return Value >= Low && Value <= High; };
  };
  const auto Text = Request.subspan (IdAt, Request.size () - SizeMin);
  const bool IsGood = Request.front () == 0 && IsBetween (1, 3) (Request[ClassAt]) &&
                      IsBetween (1, 2) (Request[SeverityAt]) && Request.back () == 0 &&
                      std::ranges::all_of (Text, IsBetween (' ', '~'));
  return IsGood ? Completed : FieldInvalid;
}
