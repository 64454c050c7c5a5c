#include "Console.h"

#include <fmt/format.h>

namespace {

/// Fewer steps than these are no long work.
constexpr UINTN PROGRESS_TOTAL_MIN = 20;

const char *
EscapeSequence (Colour Colour)
{
  switch (Colour) {
  case Colour::Bold:
    return "\x1B[1m";
  case Colour::Dim:
    return "\x1B[2m";
  case Colour::Red:
    return "\x1B[31m";
  case Colour::Yellow:
    return "\x1B[33m";
  case Colour::Green:
    return "\x1B[32m";
  }
  return "";
}

} // namespace

std::string
Coloured (const Console &Console, Colour Colour, std::string_view Text)
{
  return Console.OutIsTerminal ? fmt::format ("{}{}\x1B[0m", EscapeSequence (Colour), Text)
                               : std::string (Text);
}

std::string
HexText (std::span<const UINT8> Bytes)
{
  return fmt::format ("{:02X}", fmt::join (Bytes, " "));
}

Progress::Progress (Console &Console, std::string_view Name, UINTN StepCount, bool OutShowsSteps)
    : Stream (Console.ErrIsTerminal && !(OutShowsSteps && Console.OutIsTerminal) &&
                      StepCount >= PROGRESS_TOTAL_MIN
                  ? &Console.Err
                  : nullptr),
      Work (Name), Total (StepCount)
{
}

Progress::~Progress ()
{
  if (Stream != nullptr) {
    *Stream << "\r\x1B[K" << std::flush;
  }
}

void
Progress::Step ()
{
  ++Done;
  if (Stream != nullptr) {
    *Stream << fmt::format ("\r{} {} of {}", Work, Done, Total) << std::flush;
  }
}
