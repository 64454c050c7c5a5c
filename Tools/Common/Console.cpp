#include "Console.h"

#include <algorithm>

#include <fmt/color.h>
#include <fmt/format.h>

#include "Utf8.h"

namespace {

/// Fewer steps than these are no long work.
constexpr UINTN PROGRESS_STEPS_MIN = 20;

/// So many steps are shown until fewer of them are.
constexpr UINTN PROGRESS_SHOWN_MAX = 100;

fmt::text_style
StyleOf (Colour Colour)
{
  switch (Colour) {
  case Colour::Bold:
    return fmt::emphasis::bold;
  case Colour::Dim:
    return fmt::emphasis::faint;
  case Colour::Red:
    return fg (fmt::terminal_color::red);
  case Colour::Yellow:
    return fg (fmt::terminal_color::yellow);
  case Colour::Green:
    return fg (fmt::terminal_color::green);
  }
  return {};
}

/// Whether a terminal shows the character itself, and does not do as it says: no control, no line
/// end, and nothing that turns the direction of writing or takes no room.
bool
IsShown (char32_t Code)
{
  constexpr struct {
    char32_t First, Last;
  } Hidden[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},  {0x200B, 0x200F},
                {0x2028, 0x202E}, {0x2060, 0x206F}, {0xFEFF, 0xFEFF}};
  return std::ranges::none_of (
      Hidden, [&] (const auto &Range) { return Code >= Range.First && Code <= Range.Last; });
}

} // namespace

std::string
ShownText (std::string_view Text)
{
  std::string Shown;
  while (!Text.empty ()) {
    const auto First = FirstCharacter (Text);
    const std::string_view Bytes = Text.substr (0, First ? First->Size : 1);
    if (First && IsShown (First->Code)) {
      Shown += Bytes;
    } else if (Bytes == "\n") {
      Shown += "\\n";
    } else {
      for (const char Byte : Bytes) {
        Shown += fmt::format ("\\x{:02X}", static_cast<UINT8> (Byte));
      }
    }
    Text.remove_prefix (Bytes.size ());
  }
  return Shown;
}

std::string
Coloured (const Console &Console, Colour Colour, std::string_view Text)
{
  std::string Shown = ShownText (Text);
  return Console.UsesColours ? fmt::format (StyleOf (Colour), "{}", Shown) : Shown;
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
