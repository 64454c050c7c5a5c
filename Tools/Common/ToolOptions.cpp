#include "ToolOptions.h"

#include <fmt/format.h>

#include "InputFile.h"

void
RefuseOption (const std::string &Option, std::string_view Expected, const std::string &Found)
{
  throw InputError (fmt::format ("{}: expected {}, found \"{}\"", Option, Expected, Found));
}

UINT64
NumberOption (const std::string &Option, const std::string &Text, UINT64 Minimum, UINT64 Maximum)
{
  const auto Number = ParseNumber (Text);
  if (!Number || *Number < Minimum || *Number > Maximum) {
    RefuseOption (Option, fmt::format ("a number from {} to {}", Minimum, Maximum), Text);
  }
  return *Number;
}
