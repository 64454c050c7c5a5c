/// Values of command-line options. Each reader refuses what does not fit by an InputError that
/// names the option and what was expected.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "CperLayout.h"
#include "PlatformDescription.h"
#include "ToolOptions.h"

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

/// The severity by its name, or any 32-bit number.
UINT32 SeverityOption (const std::string &Option, const std::string &Text);

EFI_GUID GuidOption (const std::string &Option, const std::string &Text);

/// A text of at most LengthMax printable ASCII characters.
std::string TextOption (const std::string &Option, const std::string &Text, UINTN LengthMax);

/// An assignment to a byte of the CMOS RAM, "OFFSET=VALUE": offset and value.
std::pair<UINT8, UINT8> CmosOption (const std::string &Option, const std::string &Text);

/// The platform that the file describes, or the built-in one if no file is given.
PlatformDescription PlatformOption (const std::string &File);
