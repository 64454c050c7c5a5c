/// The layout: width, precision, prefix and commas of every text.
#pragma once

#include "PrintDirective.h"
#include "PrintWriter.h"

/// A text to lay out.
struct LaidOutText {
  const CHAR8 *Characters;
  UINTN Length;    ///< In characters, without prefix and commas.
  UINTN Precision; ///< The fewest characters, the prefix included.
  UINTN Flags;  ///< ARGUMENT_UNICODE, ARGUMENT_REVERSED for digits, COMMA_TYPE for groups of three.
  CHAR8 Prefix; ///< What stands ahead; NUL for nothing.
};

/// Writes a text with blanks up to the width of its directive, on the side that the directive
/// wants, and blanks, or zeros under ARGUMENT_REVERSED, up to its precision.
VOID LayOut (PrintWriter &Writer, const PrintDirective &Directive, const LaidOutText &Text);
