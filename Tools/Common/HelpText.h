/// Help as people read it, and what helps when a word is wrong.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace CLI {
class App;
class FormatterBase;
} // namespace CLI

/// Breaks the text at blanks into lines of at most Width columns.
std::string WrappedText (std::string_view Text, std::size_t Width);

/// An entry of a list, such as an option.
std::string HelpEntry (const std::string &Name, std::string_view Text);

/// Writes help that no terminal breaks.
std::shared_ptr<CLI::FormatterBase> NarrowFormatter ();

/// What the word could mean that the command line got to and did not know: an option or a command
/// that is written almost so; empty if there is none.
std::string NearestName (const CLI::App &App, const std::string &Word);
