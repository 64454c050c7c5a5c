#include "TimeStamp.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "Console.h"

namespace {

struct [[gnu::packed]] CperTimeStamp {
  UINT8 Seconds, Minutes, Hours;
  UINT8 Flags;
  UINT8 Day, Month, Year, Century;
};
LAYOUT_OFFSET (CperTimeStamp, Flags, 3);
LAYOUT_SIZE (CperTimeStamp, 8);

constexpr UINT8 TIME_STAMP_PRECISE = 0x01;

constexpr bool
IsBcd (UINT8 Number)
{
  return (Number & 0xF) < 10 && Number >> 4 < 10;
}

constexpr UINT8
FromBcd (UINT8 Number)
{
  return static_cast<UINT8> ((Number >> 4) * 10 + (Number & 0xF));
}

bool
IsTime (const CperTimeStamp &Time)
{
  return Time.Seconds < 60 && Time.Minutes < 60 && Time.Hours < 24 && Time.Day >= 1 &&
         Time.Day <= 31 && Time.Month >= 1 && Time.Month <= 12 && Time.Year < 100 &&
         Time.Century >= 19 && Time.Century < 30;
}

std::string
TimeText (const CperTimeStamp &Time)
{
  return fmt::format ("{:02}{:02}-{:02}-{:02}T{:02}:{:02}:{:02}", Time.Century, Time.Year,
                      Time.Month, Time.Day, Time.Hours, Time.Minutes, Time.Seconds);
}

} // namespace

TimeStamp
ReadTimeStamp (UINT64 Field)
{
  CperTimeStamp Time;
  std::memcpy (&Time, &Field, sizeof (Time));
  const bool Precise = (Time.Flags & TIME_STAMP_PRECISE) != 0;
  UINT8 *const Numbers[] = {&Time.Seconds, &Time.Minutes, &Time.Hours,  &Time.Day,
                            &Time.Month,   &Time.Year,    &Time.Century};
  const CperTimeStamp Binary = Time;
  if (std::ranges::all_of (Numbers, [] (const UINT8 *Number) { return IsBcd (*Number); })) {
    for (UINT8 *Number : Numbers) {
      *Number = FromBcd (*Number);
    }
    if (IsTime (Time)) {
      return {TimeStampForm::Bcd, Precise, TimeText (Time)};
    }
  }
  if (IsTime (Binary)) {
    return {TimeStampForm::Binary, Precise, TimeText (Binary)};
  }
  return {TimeStampForm::None, Precise,
          HexText ({reinterpret_cast<const UINT8 *> (&Field), sizeof (Field)})};
}
