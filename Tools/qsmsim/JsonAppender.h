/// JSON as it is written, without a tree of it: for many records.
#pragma once

#include <string>
#include <string_view>

#include "Base.h"

/// Appends to a text. Members and elements come in the order of the calls; the caller keeps objects
/// and arrays balanced.
class JsonAppender {
public:
  explicit JsonAppender (std::string &To) : Text (To) {}

  JsonAppender &Open (char Bracket);  ///< '{' or '['.
  JsonAppender &Close (char Bracket); ///< '}' or ']'.

  /// Starts a member: its value is next. The name needs no escapes.
  JsonAppender &Key (std::string_view Name);

  /// Values. A text need not be UTF-8: U+FFFD stands for bytes that are not.
  /// @{
  JsonAppender &String (std::string_view Value);
  JsonAppender &Number (UINT64 Value);
  JsonAppender &Boolean (bool Value);
  JsonAppender &Null ();
  /// @}

private:
  void Separate ();

  std::string &Text;
};
