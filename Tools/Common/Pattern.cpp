#include "Pattern.h"

#include <new>
#include <stdexcept>

Pattern::Pattern (const char *Expression, Letters Case)
{
  if (regcomp (&Compiled, Expression,
               REG_EXTENDED | (Case == Letters::OfEitherCase ? REG_ICASE : 0)) != 0) {
    throw std::invalid_argument (Expression);
  }
}

Pattern::~Pattern ()
{
  regfree (&Compiled);
}

std::vector<std::optional<std::string>>
Pattern::Search (const std::string &Text) const
{
  // The end is told by a position, an extension of the GNU C library: a text may have a NUL in it.
  std::vector<regmatch_t> Places (Compiled.re_nsub + 1);
  Places.front () = {0, static_cast<regoff_t> (Text.size ())};
  switch (regexec (&Compiled, Text.c_str (), Places.size (), Places.data (), REG_STARTEND)) {
  case 0:
    break;
  case REG_NOMATCH:
    return {};
  default:
    throw std::bad_alloc ();
  }
  std::vector<std::optional<std::string>> Groups;
  Groups.reserve (Places.size ());
  for (const auto [Begin, End] : Places) {
    Groups.push_back (Begin < 0
                          ? std::nullopt
                          : std::optional (Text.substr (static_cast<std::size_t> (Begin),
                                                        static_cast<std::size_t> (End - Begin))));
  }
  return Groups;
}
