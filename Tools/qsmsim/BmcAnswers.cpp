#include "BmcAnswers.h"

#include <fmt/format.h>

#include "CompletionCode.h"
#include "InputFile.h"
#include "ToolOptions.h"

namespace {

constexpr const char *EMPTY_ANSWER = "empty";

constexpr Named<EFI_STATUS> TransportFailures[] = {
    {"timeout", EFI_TIMEOUT},           {"no-interface", EFI_NOT_FOUND},
    {"device-error", EFI_DEVICE_ERROR}, {"not-ready", EFI_NOT_READY},
    {"unsupported", EFI_UNSUPPORTED},
};

} // namespace

BmcAnswer
BmcAnswerOption (const std::string &Option, const std::string &Text)
{
  if (Text == EMPTY_ANSWER) {
    return {.Response = {}};
  }
  if (const EFI_STATUS *Failure = FindNamed<EFI_STATUS> (TransportFailures, Text)) {
    return {.Status = *Failure, .Response = {}};
  }
  if (const auto Code = FindCompletionCode (Text)) {
    return {.Response = {*Code}};
  }
  const auto Number = ParseNumber (Text);
  if (!Number || *Number > 0xFF) {
    RefuseOption (Option,
                  fmt::format ("a completion code by its number or name, like invalid-command, or "
                               "{}",
                               TransportFailureNames ()),
                  Text);
  }
  return {.Response = {static_cast<UINT8> (*Number)}};
}

std::string
TransportFailureNames ()
{
  return NamesText<EFI_STATUS> (TransportFailures) + ", " + EMPTY_ANSWER;
}

std::string
TransportFailureText (EFI_STATUS Status)
{
  const char *Name = NameOf<EFI_STATUS> (TransportFailures, Status);
  return Name != nullptr ? Name : fmt::format ("status 0x{:X}", Status);
}
