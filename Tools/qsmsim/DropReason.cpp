#include "DropReason.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "BmcAnswers.h"
#include "CompletionCode.h"
#include "CperLayout.h"
#include "CperNames.h"
#include "DevicePlace.h"
#include "Event.h"
#include "FrontOf.h"
#include "Guid.h"
#include "Record/ErrorClass.h"

namespace {

constexpr struct {
  const char *LineStart;
  const char *Code, *Text;
} LogReasons[] = {
    {"[System Inventory Information] Protocol Data NOT Ready", "inventory-not-ready",
     "the inventory is not ready"},
    {"gOrvSmmSystemInventoryInfoProtocolGuid Protocol Status", "inventory-missing",
     "the inventory is not there"},
    {"ASSERT VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:377 ", "inventory-missing",
     "the inventory was not there when the driver was loaded, which stops at that; a dispatcher "
     "that heeds the driver's dependency expression waits for it"},
    {"ASSERT VelmoraQsmErrorHandler/VelmoraQsmErrorHandler:143 ", "pool-exhausted",
     "the SMM pool is exhausted, and of a processor error the driver stops at that"},
    {"FindRedFishId() Exiting - Status: Out of Resources", "pool-exhausted",
     "the SMM pool is exhausted"},
};

constexpr const char *NotFoundLine = "Device is not Found Flag";
constexpr const char *TransportLine = "QSM_OEM_IPMI_REDFISH_COMMAND Status";
constexpr const char *CompletionCodeLine = "!!! --- IpmiTransportPpi->CommandCompletionCode";

/// The first line of the log that begins so; empty if there is none.
std::string
FindLine (std::span<const std::string> Log, std::string_view Start)
{
  const auto Found = std::ranges::find_if (
      Log, [&] (const std::string &Line) { return Line.starts_with (Start); });
  return Found != Log.end () ? *Found : "";
}

/// Of a request that was sent and not taken.
DropReason
WhyNotTaken (const BmcRequest &Request, std::span<const std::string> Log)
{
  if (EFI_ERROR (Request.Status)) {
    return {"transport-failed",
            "the IPMI transport failed: " + TransportFailureText (Request.Status),
            FindLine (Log, TransportLine)};
  }
  const std::string Line = FindLine (Log, CompletionCodeLine);
  if (!Request.CompletionCode) {
    return {"no-completion-code",
            "the IPMI transport has brought an answer without a completion "
            "code, of which the log shows 0xFF",
            Line};
  }
  return {"bmc-refused",
          "the BMC refused the event: " + CompletionCodeText (*Request.CompletionCode), Line};
}

/// "ARM processor (E19E3D16-...)", or the identifier alone.
std::string
NamedTypeText (const EFI_GUID &SectionType)
{
  const char *Name = SectionTypeName (SectionType);
  return Name != nullptr ? fmt::format ("{} ({})", Name, GuidText (SectionType))
                         : GuidText (SectionType);
}

/// Whether the status code is of the driver's type.
bool
IsOfType (const ReportOptions &Options)
{
  return (Options.CodeType & EFI_STATUS_CODE_TYPE_MASK) == EFI_ERROR_CODE;
}

/// Of a status code that the driver does not take.
DropReason
WhyForeign (const ReportOptions &Options)
{
  std::vector<std::string> Wrong;
  if (!IsOfType (Options)) {
    Wrong.push_back (fmt::format ("the low byte of its type 0x{:08X} is not 0x{:02X}",
                                  Options.CodeType, EFI_ERROR_CODE));
  }
  if (Options.Value != HARDWARE_ERROR_STATUS_CODE) {
    Wrong.push_back (fmt::format ("its value 0x{:08X} is not 0x{:08X}", Options.Value,
                                  HARDWARE_ERROR_STATUS_CODE));
  }
  return {"wrong-status-code", fmt::format ("the driver leaves this status code to others: {}",
                                            fmt::join (Wrong, ", and "))};
}

/// How far a device of a class is from a place, the coarsest part first.
DevicePlace
Distance (const DescribedDevice &Device, const DevicePlace &Place)
{
  DevicePlace Result = PlaceOfDevice (Device);
  for (UINTN Part = 0; Part < Result.size (); ++Part) {
    Result[Part] = std::max (Result[Part], Place[Part]) - std::min (Result[Part], Place[Part]);
  }
  return Result;
}

/// Behind "no device at the place": which one is nearest.
std::string
NearestText (const DescribedDevice &Nearest, const DevicePlace &Distance)
{
  const bool IsPcie = Nearest.Type == ErrorClassPcie;
  if (Distance[0] != 0) {
    return fmt::format (", and none on that {}", IsPcie ? "bus" : "socket");
  }
  const char *Coarse = IsPcie ? "bus" : "socket";
  const char *Fine = IsPcie ? "device" : "channel";
  return fmt::format ("; nearest, with the same {}: {}", Distance[1] == 0 ? Fine : Coarse,
                      DeviceText (Nearest));
}

/// Of a record whose device the driver has not found.
DropReason
WhyNotFound (const ReportedRecord &Reported, UINT8 ErrorClass, std::string Line)
{
  const auto Record = FrontOf<ErrorRecord> (Reported.File.Bytes);
  const SimulatedPlatform &Platform = Reported.Platform;
  const DevicePlace Place = PlaceOfError (
      ErrorClass, Record, Platform.World.Processors[Reported.Options.Processor].Package);
  const std::string Class = ErrorClassText (ErrorClass);

  const DescribedDevice *Nearest = nullptr;
  for (const DescribedDevice &Device : Platform.Description.Devices) {
    if (Device.Type == ErrorClass &&
        (Nearest == nullptr || Distance (Device, Place) < Distance (*Nearest, Place))) {
      Nearest = &Device;
    }
  }
  if (Nearest == nullptr) {
    return {"no-device-of-class", fmt::format ("the inventory has no {} device", Class),
            std::move (Line)};
  }
  const DevicePlace Away = Distance (*Nearest, Place);
  if (Away != DevicePlace{}) {
    return {"no-device-at-place",
            fmt::format ("the inventory has no {} device at {}{}", Class,
                         PlaceText (ErrorClass, Place), NearestText (*Nearest, Away)),
            std::move (Line)};
  }
  return {"severity-without-event",
          fmt::format ("{} is there, but {} errors of this severity give no event: {}",
                       DeviceText (*Nearest), Class,
                       CperSeverityText (Record.Header.ErrorSeverity)),
          std::move (Line)};
}

} // namespace

std::optional<DropReason>
ReasonOfLog (std::span<const std::string> Log)
{
  for (const std::string &Line : Log) {
    for (const auto &Row : LogReasons) {
      if (Line.starts_with (Row.LineStart)) {
        return DropReason{Row.Code, Row.Text, Line};
      }
    }
  }
  return std::nullopt;
}

std::optional<DropReason>
WhyNotReported (const CperFile &File, const ReportOptions &Options)
{
  const EFI_GUID SectionType = FrontOf<ErrorRecord> (File.Bytes).Section.SectionType;
  const CperSection *Section = FindCperSection (SectionType);
  if (Options.Placement != RecordPlacement::Exact || Section == nullptr ||
      File.Bytes.size () >= Section->ReadSize ()) {
    return std::nullopt;
  }
  return DropReason{"location-cut",
                    fmt::format ("not reported, as the record ends ahead of the device's place: it "
                                 "has {} of the {} bytes that the driver reads",
                                 File.Bytes.size (), Section->ReadSize ())};
}

bool
IsStatusCodeOfDriver (const ReportOptions &Options)
{
  return IsOfType (Options) && Options.Value == HARDWARE_ERROR_STATUS_CODE;
}

DropReason
WhyDropped (const ReportedRecord &Reported,
            std::span<const std::string> Log,
            std::span<const BmcRequest> Lost)
{
  if (!Lost.empty ()) {
    return WhyNotTaken (Lost.front (), Log);
  }
  if (!IsStatusCodeOfDriver (Reported.Options)) {
    return WhyForeign (Reported.Options);
  }
  if (const auto Told = ReasonOfLog (Log)) {
    return *Told;
  }
  const EFI_GUID SectionType = FrontOf<ErrorRecord> (Reported.File.Bytes).Section.SectionType;
  const CperSection *Section = FindCperSection (SectionType);
  if (Section == nullptr) {
    return {"unknown-section", "the driver does not know the first section's type, " +
                                   NamedTypeText (SectionType) + ", and logs nothing"};
  }
  if (std::string Line = FindLine (Log, NotFoundLine); !Line.empty ()) {
    return WhyNotFound (Reported, Section->ErrorClass, std::move (Line));
  }
  return {"unexplained", "the log does not say why"};
}
