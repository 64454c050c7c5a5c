/// Values of command-line options that several tools read.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "Base.h"

/// Throws the InputError that names the option, what was expected, and what was found.
[[noreturn]] void
RefuseOption (const std::string &Option, std::string_view Expected, const std::string &Found);

/// The number, or an InputError if it is none from Minimum to Maximum.
UINT64
NumberOption (const std::string &Option, const std::string &Text, UINT64 Minimum, UINT64 Maximum);

/// A name of a value, for both directions.
template <typename Value> struct Named {
  const char *Name;
  Value Of;
};

/// The names of a list: "one, two, three".
template <typename Value>
std::string
NamesText (std::span<const Named<Value>> Values)
{
  std::string Text;
  for (const Named<Value> &Row : Values) {
    Text += (Text.empty () ? "" : ", ") + std::string (Row.Name);
  }
  return Text;
}

/// The value of that name, or null.
template <typename Value>
const Value *
FindNamed (std::span<const Named<Value>> Values, const std::string &Name)
{
  for (const Named<Value> &Row : Values) {
    if (Row.Name == Name) {
      return &Row.Of;
    }
  }
  return nullptr;
}

template <typename Value>
Value
NamedOption (const std::string &Option,
             const std::string &Text,
             std::span<const Named<Value>> Values)
{
  const Value *Found = FindNamed (Values, Text);
  if (Found == nullptr) {
    RefuseOption (Option, NamesText (Values), Text);
  }
  return *Found;
}

/// The name of that value, or null.
template <typename Value>
const char *
NameOf (std::span<const Named<Value>> Values, const Value &Of)
{
  for (const Named<Value> &Row : Values) {
    if (Row.Of == Of) {
      return Row.Name;
    }
  }
  return nullptr;
}
