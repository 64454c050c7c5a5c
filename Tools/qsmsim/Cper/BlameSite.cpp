#include "BlameSite.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include <fmt/format.h>

#include "ApicPackage.h"
#include "DevicePlace.h"
#include "Graph.h"
#include "Record/RequestData.h"

namespace {

/// Redfish ids are cut to what fits the event with its NUL.
constexpr UINTN ID_LENGTH_MAX = REDFISH_ID_SIZE_MAX - 1;

/// The socket that the name of a unit seems to tell, as notes have it; the text is empty if none.
struct SocketHint {
  std::optional<UINT64> Number;
  std::string Text;

  [[nodiscard]] bool
  Contradicts (UINT64 Socket) const
  {
    return Number && *Number != Socket;
  }
};

/// A number behind a word for a processor, as in "Socket1", "CPU 1" or "P1-DIMMA1".
SocketHint
SocketInText (const std::string &Text)
{
  std::string Lower = Text;
  std::ranges::transform (Lower, Lower.begin (), [] (unsigned char Character) {
    return static_cast<char> (std::tolower (Character));
  });
  for (std::size_t Start = 0; Start < Lower.size (); ++Start) {
    if (Start != 0 && std::isalnum (static_cast<unsigned char> (Lower[Start - 1])) != 0) {
      continue;
    }
    for (const std::string_view Word : {"socket", "processor", "proc", "cpu", "p"}) {
      const std::size_t Digits = Lower.find_first_not_of (" _-#", Start + Word.size ());
      UINT64 Number = 0;
      if (Lower.compare (Start, Word.size (), Word) == 0 && Digits != std::string::npos &&
          std::from_chars (&Lower[Digits], Lower.data () + Lower.size (), Number).ec ==
              std::errc ()) {
        return {Number, Number == 0 ? "socket 0"
                                    : fmt::format ("socket {} (or {} if it counts from 1)", Number,
                                                   Number - 1)};
      }
    }
  }
  return {};
}

/// Likewise, or a slot's label of a letter and a number, such as "B4", where the letter may be
/// that of the socket.
SocketHint
SocketInMemoryText (const std::string &Text)
{
  const bool IsLabel = Text.size () >= 2 && Text.size () <= 3 && Text[0] >= 'A' && Text[0] <= 'H' &&
                       Text.find_first_not_of ("0123456789", 1) == std::string::npos;
  if (!IsLabel) {
    return SocketInText (Text);
  }
  const auto Number = static_cast<UINT64> (Text[0] - 'A');
  return {Number, fmt::format ("socket {} (or channel {} of another)", Number, Text[0])};
}

/// The place that the driver compares. None if there is none, or not all of it.
std::optional<DevicePlace>
PlaceRead (const CperDescription &Description)
{
  auto Read = PlaceOf (Description.Read ());
  if (Read) {
    std::ranges::transform (*Read, Read->begin (),
                            [] (UINT64 Part) { return static_cast<UINT8> (Part); });
  }
  return Read;
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

std::optional<UINT64>
BlameSite::SegmentOfSocket (UINTN Number) const
{
  if (!Platform.Topology) {
    // Each socket of the standard topology has its own.
    return Number < SocketCount ? std::optional<UINT64> (Number) : std::nullopt;
  }
  const SocketRow &Socket = Platform.Topology->Sockets[Number];
  return Socket.Present != FALSE ? std::optional<UINT64> (Socket.Segment) : std::nullopt;
}

std::optional<std::string>
BlameSite::SegmentDoubt (UINT64 Segment, UINT8 Bus) const
{
  bool IsOfSocket = false;
  for (UINTN Socket = 0; Socket < SOCKET_MAX && !IsOfSocket; ++Socket) {
    IsOfSocket = SegmentOfSocket (Socket) == Segment;
  }
  if (!IsOfSocket) {
    return ", which no socket of the platform has";
  }
  if (!Topology) {
    Topology = SharedTopology ();
  }
  const auto Sockets = Topology ? SocketsOfBus (*Topology, Bus) : std::vector<UINTN> ();
  if (Sockets.size () != 1) {
    return Segment != 0 ? std::optional<std::string> ("") : std::nullopt;
  }
  const auto Reached = SegmentOfSocket (Sockets.front ());
  return Reached && Reached != Segment
             ? std::optional (fmt::format (", and bus 0x{:02X} is of segment {}", Bus, *Reached))
             : std::nullopt;
}

void
BlameSite::NoteSegment (CperDescription &Description) const
{
  const auto Segment = ValueOf (Description.Fields, "segment");
  const auto Bus = ValueOf (Description.Read (), "bus");
  if (!Segment || !Bus) {
    return;
  }
  if (const auto Doubt = SegmentDoubt (*Segment, static_cast<UINT8> (*Bus))) {
    Description.Notes.push_back (
        {"segment-ignored",
         fmt::format ("the record is of segment {}{}; the driver takes a device of any segment",
                      *Segment, *Doubt)});
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
  const SocketHint Hint = SocketInMemoryText (FruText);
  if (Node && Hint.Contradicts (*Node)) {
    Description.Notes.push_back (
        {"fru-text-differs",
         fmt::format ("the driver takes node {} for a socket, which it need not be: the FRU text "
                      "\"{}\" may name {}",
                      *Node, FruText, Hint.Text)});
  }
}

void
BlameSite::NoteReporter (CperDescription &Description) const
{
  auto &Notes = Description.Notes;
  Notes.push_back (
      {"follows-reporting-processor",
       fmt::format (
           "an event would go to socket {}, that of the reporting processor {}, whatever the "
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
  const SocketHint Hint = SocketInText (FruText);
  if (Hint.Contradicts (ReportingSocket)) {
    Notes.push_back ({"fru-text-differs",
                      fmt::format ("but the FRU text \"{}\" may name {}", FruText, Hint.Text)});
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
