/// Where the tool writes to, and how.
#pragma once

#include <ostream>
#include <span>
#include <string>
#include <string_view>

#include "Base.h"

/// The process's two streams, or those of a test.
struct Console {
  std::ostream &Out;
  std::ostream &Err;
  bool OutIsTerminal = false;
  bool ErrIsTerminal = false; ///< Then progress is shown.
  bool UsesColours = false;   ///< As RunTool finds.
};

enum class Colour {
  Bold,
  Dim,
  Red,
  Yellow,
  Green
};

/// Text of others, such as a file's name, with controls, what is no UTF-8 and what changes how the
/// rest is shown as they are written in C.
std::string ShownText (std::string_view Text);

/// That in a colour, if colours are used.
std::string Coloured (const Console &Console, Colour Colour, std::string_view Text);

/// "00 02 01".
std::string HexText (std::span<const UINT8> Bytes);

/// A line on standard error that counts steps of long work, as long as that is a terminal and
/// standard output does not show the same steps. The more steps there have been, the fewer of them
/// it shows. Goes away with the object.
class Progress {
public:
  Progress (Console &Console, std::string_view Name, bool OutShowsSteps = false);
  ~Progress ();
  Progress (const Progress &) = delete;
  Progress &operator= (const Progress &) = delete;

  void Step ();

private:
  std::ostream *Stream; ///< Null when nothing is shown.
  std::string Work;
  UINTN Done = 0;
  UINTN Stride; ///< Every so many steps are shown.
};
