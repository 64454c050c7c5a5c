#include "HelpText.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace {

constexpr std::size_t TERMINAL_WIDTH = 80;

/// What an entry of a list gives to its name.
constexpr std::size_t NAME_WIDTH = 30;

class Formatter : public CLI::Formatter {
public:
  Formatter ()
  {
    column_width (NAME_WIDTH);
  }

  std::string
  make_description (const CLI::App *App) const override
  {
    return WrappedText (CLI::Formatter::make_description (App), TERMINAL_WIDTH);
  }

  std::string
  make_option_desc (const CLI::Option *Option) const override
  {
    return WrappedText (CLI::Formatter::make_option_desc (Option), TERMINAL_WIDTH - NAME_WIDTH);
  }

  std::string
  make_subcommand (const CLI::App *Command) const override
  {
    return HelpEntry (Command->get_display_name (true), Command->get_description ());
  }
};

/// How many characters have to be put in, left out or replaced to make one word of the other.
std::size_t
EditDistance (std::string_view From, std::string_view To)
{
  std::vector<std::size_t> Row (To.size () + 1);
  std::iota (Row.begin (), Row.end (), std::size_t{0});
  for (std::size_t Line = 0; Line < From.size (); ++Line) {
    std::size_t Diagonal = std::exchange (Row[0], Line + 1);
    for (std::size_t Column = 0; Column < To.size (); ++Column) {
      const std::size_t Replaced = Diagonal + (From[Line] == To[Column] ? 0 : 1);
      Diagonal = Row[Column + 1];
      Row[Column + 1] = std::min ({Replaced, Diagonal + 1, Row[Column] + 1});
    }
  }
  return Row.back ();
}

/// The options or the commands that the app takes, in the form of the word.
std::vector<std::string>
NamesLike (const CLI::App &App, std::string_view Word)
{
  std::vector<std::string> Names;
  if (!Word.starts_with ('-')) {
    for (const CLI::App *Command : App.get_subcommands ([] (const CLI::App *) { return true; })) {
      Names.push_back (Command->get_name ());
    }
    return Names;
  }
  for (const CLI::Option *Option : App.get_options ()) {
    for (const std::string &Name : Option->get_lnames ()) {
      Names.push_back ("--" + Name);
    }
  }
  return Names;
}

} // namespace

std::string
WrappedText (std::string_view Text, std::size_t Width)
{
  std::string Lines;
  while (Text.size () > Width || Text.find ('\n') != std::string_view::npos) {
    std::size_t End = Text.substr (0, Width + 1).find ('\n');
    if (End == std::string_view::npos) {
      End = Text.rfind (' ', Width);
    }
    if (End == std::string_view::npos) {
      break; // A word that is too long.
    }
    Lines.append (Text.substr (0, End)) += '\n';
    Text.remove_prefix (End + 1);
  }
  return Lines.append (Text);
}

std::string
HelpEntry (const std::string &Name, std::string_view Text)
{
  std::ostringstream Entry;
  CLI::detail::format_help (Entry, Name, WrappedText (Text, TERMINAL_WIDTH - NAME_WIDTH),
                            NAME_WIDTH);
  return Entry.str ();
}

std::shared_ptr<CLI::FormatterBase>
NarrowFormatter ()
{
  return std::make_shared<Formatter> ();
}

std::string
NearestName (const CLI::App &App, const std::string &Word)
{
  constexpr std::size_t DISTANCE_MAX = 2;
  const CLI::App *Reached = &App;
  while (!Reached->get_subcommands ().empty ()) {
    Reached = Reached->get_subcommands ().back ();
  }
  const std::string Name = Word.substr (0, Word.find ('='));
  std::string Nearest;
  std::size_t Least = std::min (DISTANCE_MAX + 1, Name.size () / 2);
  for (const std::string &Known : NamesLike (*Reached, Name)) {
    if (const std::size_t Distance = EditDistance (Name, Known); Distance < Least) {
      Nearest = Known;
      Least = Distance;
    }
  }
  return Nearest;
}
