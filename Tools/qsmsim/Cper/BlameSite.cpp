#include "BlameSite.h"

#include <algorithm>

#include <fmt/format.h>

#include "ApicPackage.h"
#include "DevicePlace.h"

namespace {

/// Redfish ids are cut to what fits the event.
constexpr UINTN ID_LENGTH_MAX = 149;

/// A number behind a word for a processor, as in "Socket1", "CPU 1" or "P1".
std::optional<UINT64>
SocketInText (std::string_view Text)
{
  const auto IsDigit = [] (char Character) { return Character >= '0' && Character <= '9'; };
  std::string Lower (Text);
  std::ranges::transform (Lower, Lower.begin (), [] (char Character) {
    return Character >= 'A' && Character <= 'Z' ? static_cast<char> (Character + 0x20) : Character;
  });
  for (const std::string_view Word : {"socket", "processor", "cpu", "p"}) {
    const std::size_t Found = Lower.find (Word);
    if (Found == std::string::npos) {
      continue;
    }
    const std::size_t First = Lower.find_first_not_of (" _-#", Found + Word.size ());
    if (First == std::string::npos || !IsDigit (Lower[First])) {
      continue;
    }
    UINT64 Number = 0;
    for (std::size_t At = First; At < Lower.size () && IsDigit (Lower[At]); ++At) {
      Number = Number * 10 + static_cast<UINT64> (Lower[At] - '0');
    }
    return Number;
  }
  return std::nullopt;
}

/// A slot's label of a letter for the socket and a number, such as "B4" of socket 1.
std::optional<UINT64>
SocketInLabel (std::string_view Text)
{
  const bool IsLabel = Text.size () >= 2 && Text.size () <= 3 && Text[0] >= 'A' && Text[0] <= 'H' &&
                       Text.find_first_not_of ("0123456789", 1) == std::string_view::npos;
  return IsLabel ? std::optional (static_cast<UINT64> (Text[0] - 'A')) : std::nullopt;
}

/// The place that the driver reads. None if there is none, or not all of it.
std::optional<DevicePlace>
PlaceRead (const CperDescription &Description)
{
  DevicePlace Read = {};
  UINTN Count = 0;
  for (const auto &[Field, Value] : Description.Read ()) {
    if (Field->TellsDevice && Value) {
      Read.at (Count++) = static_cast<UINT8> (*Value);
    }
  }
  return Count == Read.size () ? std::optional (Read) : std::nullopt;
}

} // namespace

BlameSite::BlameSite (const PlatformDescription &Of, UINTN Reporter)
    : Platform (Of), Processor (Reporter)
{
  const auto BitsOf = [] (const PlatformDescription::Processor &One) {
    const CpuidSet *Set = FindCpuidSet (One.CpuidSet);
    return Set != nullptr ? BitsBelowPackage (*Set) : 0;
  };
  const PlatformDescription::Processor &Reporting = Platform.Processors[Reporter];
  ApicBits = BitsOf (Reporting);
  ReportingSocket = PackageOf (Reporting.ApicId, ApicBits);
  SocketCount = 0;
  for (const PlatformDescription::Processor &One : Platform.Processors) {
    SocketCount = std::max (SocketCount, PackageOf (One.ApicId, BitsOf (One)) + 1);
  }
}

bool
BlameSite::HasSegment (UINT64 Segment) const
{
  if (!Platform.Topology) {
    return Segment < SocketCount; // Each socket of the standard topology has its own.
  }
  return std::ranges::any_of (Platform.Topology->Sockets, [&] (const SocketRow &Socket) {
    return Socket.Present != FALSE && Socket.Segment == Segment;
  });
}

void
BlameSite::NoteSegment (CperDescription &Description) const
{
  const auto Segment = ValueOf (Description.Fields, "segment");
  if (Segment.value_or (0) != 0) {
    Description.Notes.push_back (
        {"segment-ignored",
         fmt::format ("the record is of segment {}{}; the driver takes a device of any segment",
                      *Segment,
                      HasSegment (*Segment) ? "" : ", which no socket of the platform has")});
  }
}

void
BlameSite::NoteSocket (CperDescription &Description) const
{
  const auto Node = ValueOf (Description.Read (), "socket");
  if (Node && static_cast<UINT8> (*Node) >= SocketCount) {
    Description.Notes.push_back (
        {"node-beyond-sockets", fmt::format ("node {} is beyond the platform's {} socket{}", *Node,
                                             SocketCount, SocketCount == 1 ? "" : "s")});
  }
  const std::string FruText = FruTextOf (Description.Sections.front ().Descriptor);
  const auto Socket = SocketInLabel (FruText);
  if (Node && Socket && *Socket != *Node) {
    Description.Notes.push_back (
        {"fru-text-differs",
         fmt::format ("the driver takes node {} for a socket, which it need not be: the FRU text "
                      "\"{}\" may name socket {}",
                      *Node, FruText, *Socket)});
  }
}

void
BlameSite::NoteReporter (CperDescription &Description) const
{
  auto &Notes = Description.Notes;
  Notes.push_back (
      {"follows-reporting-processor",
       fmt::format ("the event goes to socket {}, that of the reporting processor {}, whatever the "
                    "record says",
                    ReportingSocket, Processor)});
  if (const auto ApicId = ValueOf (Description.Fields, "apic-id")) {
    const UINT32 Socket = PackageOf (*ApicId, ApicBits);
    if (Socket != ReportingSocket) {
      Notes.push_back (
          {"apic-id-differs",
           fmt::format ("but the record's APIC id 0x{:X} is of socket {}", *ApicId, Socket)});
    }
  }
  const std::string FruText = FruTextOf (Description.Sections.front ().Descriptor);
  const auto Socket = SocketInText (FruText);
  if (Socket && *Socket != ReportingSocket) {
    Notes.push_back ({"fru-text-differs",
                      fmt::format ("but the FRU text \"{}\" names socket {}", FruText, *Socket)});
  }
}

void
BlameSite::NoteDevices (CperDescription &Description) const
{
  const UINT8 Class = Description.Kind->ErrorClass;
  const std::optional<DevicePlace> Read = Class == ErrorClassProcessor
                                              ? DevicePlace{static_cast<UINT8> (ReportingSocket)}
                                              : PlaceRead (Description);
  const DescribedDevice *First = nullptr;
  UINTN Count = 0;
  for (const DescribedDevice &Device : Platform.Devices) {
    if (Device.Type == Class && Read == PlaceOfDevice (Device)) {
      First = First != nullptr ? First : &Device;
      ++Count;
    }
  }
  if (First == nullptr) {
    return;
  }
  auto &Notes = Description.Notes;
  if (Count > 1) {
    Notes.push_back (
        {"several-devices",
         fmt::format ("the inventory has {} devices there, the driver names the first", Count)});
  }
  if (!First->Id) {
    Notes.push_back (
        {"id-null", "the device has no id in the inventory, the BMC gets \"<null string>\""});
  } else if (First->Id->empty ()) {
    Notes.push_back ({"id-empty", "the id of the device is empty, the BMC gets no name"});
  } else if (First->Id->size () > ID_LENGTH_MAX) {
    Notes.push_back (
        {"id-cut", fmt::format ("the id of the device has {} characters, the BMC gets {}",
                                First->Id->size (), ID_LENGTH_MAX)});
  }
}

void
BlameSite::NoteBlame (CperDescription &Description) const
{
  if (Description.Kind->ErrorClass == ErrorClassProcessor) {
    NoteReporter (Description);
  }
  NoteSegment (Description);
  NoteSocket (Description);
  NoteDevices (Description);
}
