#include "Console.h"

#include <fmt/format.h>

namespace {

/// Fewer steps than these are no long work.
constexpr UINTN PROGRESS_STEPS_MIN = 20;

/// So many steps are shown until fewer of them are.
constexpr UINTN PROGRESS_SHOWN_MAX = 100;

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
  constexpr char Digits[] = "0123456789ABCDEF";
  std::string Text;
  Text.reserve (3 * Bytes.size ());
  for (const UINT8 Byte : Bytes) {
    Text += {Digits[Byte >> 4], Digits[Byte & 0xF], ' '};
  }
  if (!Text.empty ()) {
    Text.pop_back ();
  }
  return Text;
}

Progress::Progress (Console &Console, std::string_view Name, bool OutShowsSteps)
    : Stream (Console.ErrIsTerminal && !(OutShowsSteps && Console.OutIsTerminal) ? &Console.Err
                                                                                 : nullptr),
      Work (Name), Stride (PROGRESS_STEPS_MIN)
{
}

Progress::~Progress ()
{
  if (Stream != nullptr && Done >= PROGRESS_STEPS_MIN) {
    *Stream << "\r\x1B[K" << std::flush;
  }
}

void
Progress::Step ()
{
  if (++Done % Stride != 0 || Stream == nullptr) {
    return;
  }
  *Stream << fmt::format ("\r{} {}", Done, Work) << std::flush;
  if (Done >= PROGRESS_SHOWN_MAX * Stride) {
    Stride *= 10;
  }
}
