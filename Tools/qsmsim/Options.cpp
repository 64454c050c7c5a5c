#include "Options.h"

#include <limits>

#include <fmt/format.h>

#include "Guid.h"
#include "InputFile.h"

namespace {

[[noreturn]] void
Refuse (const std::string &Option, std::string_view Expected, const std::string &Found)
{
  throw InputError (fmt::format ("{}: expected {}, found \"{}\"", Option, Expected, Found));
}

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

} // namespace

UINT64
NumberOption (const std::string &Option, const std::string &Text, UINT64 Minimum, UINT64 Maximum)
{
  const auto Number = ParseNumber (Text);
  if (!Number || *Number < Minimum || *Number > Maximum) {
    Refuse (Option, fmt::format ("a number from {} to {}", Minimum, Maximum), Text);
  }
  return *Number;
}

UINT32
SeverityOption (const std::string &Option, const std::string &Text)
{
  if (const UINT32 *Severity = FindNamed (CperSeverities (), Text)) {
    return *Severity;
  }
  const auto Number = ParseNumber (Text);
  if (!Number || *Number > std::numeric_limits<UINT32>::max ()) {
    Refuse (Option, NamesText (CperSeverities ()) + " or a number of 32 bits", Text);
  }
  return static_cast<UINT32> (*Number);
}

EFI_GUID
NotificationOption (const std::string &Option, const std::string &Text)
{
  const EFI_GUID *Notification = FindNamed (CperNotifications (), Text);
  if (Notification == nullptr) {
    Refuse (Option, NamesText (CperNotifications ()), Text);
  }
  return *Notification;
}

EFI_GUID
GuidOption (const std::string &Option, const std::string &Text)
{
  const auto Guid = ParseGuid (Text);
  if (!Guid) {
    Refuse (Option, "a GUID like " + GuidText (gEfiPcieErrorSectionGuid), Text);
  }
  return *Guid;
}

std::string
TextOption (const std::string &Option, const std::string &Text, UINTN LengthMax)
{
  if (Text.size () > LengthMax || !IsPrintableAscii (Text)) {
    Refuse (Option, fmt::format ("at most {} printable ASCII characters", LengthMax), Text);
  }
  return Text;
}

PlatformDescription
PlatformOption (const std::string &File)
{
  return File.empty () ? BuiltInPlatform () : LoadPlatformDescription (File);
}
