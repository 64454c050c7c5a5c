#include "Console.h"

#include <fmt/color.h>
#include <fmt/format.h>

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

/// Whether the character at that place is a control: of ASCII, or of the 32 that UTF-8 has more.
bool
IsControl (std::string_view Text, std::size_t Place)
{
  const auto ByteAt = [&] (std::size_t At) {
    return static_cast<UINT8> (At < Text.size () ? Text[At] : 0);
  };
  const auto IsPair = [&] (std::size_t At) {
    return ByteAt (At) == 0xC2 && ByteAt (At + 1) >= 0x80 && ByteAt (At + 1) < 0xA0;
  };
  return ByteAt (Place) < 0x20 || ByteAt (Place) == 0x7F || IsPair (Place) || IsPair (Place - 1);
}

} // namespace

std::string
ShownText (std::string_view Text)
{
  std::string Shown;
  for (std::size_t Place = 0; Place < Text.size (); ++Place) {
    const char Character = Text[Place];
    if (!IsControl (Text, Place)) {
      Shown += Character;
    } else if (Character == '\n') {
      Shown += "\\n";
    } else {
      Shown += fmt::format ("\\x{:02X}", static_cast<UINT8> (Character));
    }
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
