#include "Graph.h"

#include <iterator>

#include <fmt/format.h>

#include "DevicePlace.h"
#include "Event.h"

namespace {

/// Colours that are told apart in print and by everyone.
constexpr const char *CRITICAL_COLOUR = "#F2A07B", *WARNING_COLOUR = "#FBE38E";
constexpr const char *HEADING_COLOUR = "#DCE6F0";

/// A row of sockets in the picture.
constexpr UINTN SOCKETS_SIDE_BY_SIDE = 2;

/// Text between the tags of a label.
std::string
Escaped (std::string_view Text)
{
  std::string Result;
  for (const char Character : Text) {
    switch (Character) {
    case '&':
      Result += "&amp;";
      break;
    case '<':
      Result += "&lt;";
      break;
    case '>':
      Result += "&gt;";
      break;
    default:
      Result += Character;
    }
  }
  return Result;
}

std::string
Cell (std::string_view Text, std::string_view Colour = "", UINTN ColumnCount = 1)
{
  return fmt::format (R"(<td align="left"{}{}>{}</td>)",
                      Colour.empty () ? "" : fmt::format (R"( bgcolor="{}")", Colour),
                      ColumnCount == 1 ? "" : fmt::format (R"( colspan="{}")", ColumnCount), Text);
}

std::string
Row (std::string_view Cells)
{
  return fmt::format ("    <tr>{}</tr>\n", Cells);
}

std::string
Heading (std::string_view Text, UINTN ColumnCount)
{
  return Row (Cell (fmt::format ("<b>{}</b>", Text), HEADING_COLOUR, ColumnCount));
}

std::string
Table (std::string_view Node, std::string_view Rows)
{
  return fmt::format (
      "  {} [label=<<table border=\"0\" cellborder=\"1\" cellspacing=\"0\" cellpadding=\"3\">\n"
      "{}  </table>>]\n",
      Node, Rows);
}

/// "0-3, 5".
std::string
RunsText (const std::set<UINTN> &Numbers)
{
  std::string Text;
  for (auto First = Numbers.begin (); First != Numbers.end ();) {
    auto Last = First;
    for (auto Next = std::next (Last); Next != Numbers.end () && *Next == *Last + 1; ++Next) {
      Last = Next;
    }
    Text += fmt::format ("{}{}", Text.empty () ? "" : ", ", *First);
    Text += Last == First ? "" : fmt::format ("-{}", *Last);
    First = std::next (Last);
  }
  return Text;
}

std::string
BlameText (const Blame &Blame)
{
  std::string Text;
  if (Blame.Criticals != 0) {
    Text = fmt::format ("{} Critical", Blame.Criticals);
  }
  if (Blame.Warnings != 0) {
    Text += fmt::format ("{}{} Warning", Text.empty () ? "" : ", ", Blame.Warnings);
  }
  return Text;
}

class GraphWriter {
public:
  GraphWriter (const PlatformDescription &Described, const GraphLegend &Known)
      : Platform (Described), Legend (Known)
  {
  }

  std::string
  Write (const PlatformGraph &Graph)
  {
    Text = fmt::format ("digraph platform {{\n"
                        "  graph [rankdir=LR, ranksep=0.4, nodesep=0.12, bgcolor=white,\n"
                        "         fontname=\"Helvetica\", fontsize=14, labelloc=t,\n"
                        "         label=<<b>{}</b><br/>{}>]\n"
                        "  node [shape=plaintext, margin=0, fontname=\"Helvetica\", fontsize=10]\n"
                        "  edge [arrowhead=none, color=\"#7A8896\"]\n",
                        Escaped (Platform.Name), Escaped (Legend.Caption));
    // What is written first comes to stand lowest.
    WriteList ("others", "other devices", Graph.Others);
    WriteList ("unplaced", "PCIe, at no port that is known", Graph.Unplaced);
    for (auto Each = Graph.Sockets.rbegin (); Each != Graph.Sockets.rend (); ++Each) {
      WriteSocket (Each->first, Each->second);
    }
    UINTN Place = 0;
    for (auto Socket = Graph.Sockets.begin (); Socket != Graph.Sockets.end (); ++Socket) {
      if (Place++ % SOCKETS_SIDE_BY_SIDE != 0) {
        Text += fmt::format ("  {{{} }} -> socket{} [style=invis]\n",
                             Beside[std::prev (Socket)->first], Socket->first);
      }
    }
    return Text + "}\n";
  }

private:
  /// The device, with how often it was blamed.
  std::string
  DeviceCell (UINTN Index)
  {
    const std::string Name = Escaped (Platform.Devices[Index].Id.value_or ("(null)"));
    const auto Found = Legend.Blames.find (Index);
    if (Found == Legend.Blames.end ()) {
      return Cell (Name);
    }
    return Cell (fmt::format ("<b>{}</b><br align=\"left\"/>{}<br align=\"left\"/>", Name,
                              BlameText (Found->second)),
                 Found->second.Criticals != 0 ? CRITICAL_COLOUR : WARNING_COLOUR);
  }

  /// All that are at one place.
  std::string
  DevicesCell (const DeviceIndices &Devices)
  {
    if (Devices.size () == 1) {
      return DeviceCell (Devices.front ());
    }
    std::string Rows;
    for (const UINTN Index : Devices) {
      Rows += fmt::format ("<tr>{}</tr>", DeviceCell (Index));
    }
    return Rows.empty () ? Cell ("")
                         : fmt::format (R"(<td cellpadding="0"><table border="0" cellborder="0" )"
                                        R"(cellspacing="0" cellpadding="3">{}</table></td>)",
                                        Rows);
  }

  void
  WriteSocket (UINT64 Number, const GraphSocket &Socket)
  {
    Text += fmt::format ("  subgraph cluster_socket{0} {{\n"
                         "  label=\"socket {0}\"; style=rounded; color=\"#7A8896\"\n",
                         Number);
    std::string Rows = Heading ("processor", 1);
    for (const UINTN Index : Socket.Processors) {
      Rows += Row (DeviceCell (Index));
    }
    for (const auto &[Title, Stacks] :
         {std::pair{"stacks", &Socket.Stacks}, std::pair{"CXL that answers", &Socket.AnsweringCxl},
          std::pair{"CXL that is silent", &Socket.SilentCxl}}) {
      if (!Stacks->empty ()) {
        Rows += Row (Cell (fmt::format ("{}: {}", Title, RunsText (*Stacks))));
      }
    }
    Text += Table (fmt::format ("socket{}", Number), Rows);
    for (auto Each = Socket.Buses.rbegin (); Each != Socket.Buses.rend (); ++Each) {
      WriteBus (Number, Each->first, Each->second);
    }
    WriteMemory (Number, Socket);
    Text += "  }\n";
  }

  /// Adds a table that hangs on the socket.
  void
  WriteBeside (UINT64 Socket, const std::string &Node, std::string_view Rows)
  {
    Text += Table (Node, Rows) + fmt::format ("  socket{} -> {}\n", Socket, Node);
    Beside[Socket] += " " + Node;
  }

  void
  WriteMemory (UINT64 Number, const GraphSocket &Socket)
  {
    std::set<UINT8> Dimms;
    for (const auto &[Channel, Slots] : Socket.Memory) {
      for (const auto &[Dimm, Devices] : Slots) {
        Dimms.insert (Dimm);
      }
    }
    if (Dimms.empty ()) {
      return;
    }
    std::string Titles = Cell ("<b>memory</b>", HEADING_COLOUR);
    for (const UINT8 Dimm : Dimms) {
      Titles += Cell (fmt::format ("<b>DIMM {}</b>", Dimm), HEADING_COLOUR);
    }
    std::string Rows = Row (Titles);
    for (const auto &[Channel, Slots] : Socket.Memory) {
      std::string Cells = Cell (fmt::format ("channel {}", Channel));
      for (const UINT8 Dimm : Dimms) {
        const auto Slot = Slots.find (Dimm);
        Cells += DevicesCell (Slot != Slots.end () ? Slot->second : DeviceIndices ());
      }
      Rows += Row (Cells);
    }
    WriteBeside (Number, fmt::format ("memory{}", Number), Rows);
  }

  void
  WriteBus (UINT64 Socket, UINT8 Number, const GraphBus &Bus)
  {
    std::string Rows, Closed;
    for (const UINTN Index : Bus.Devices) {
      const DescribedDevice &Device = Platform.Devices[Index];
      Rows += Row (Cell (fmt::format ("{:02X}.{}", Device.Device, Device.Function)) +
                   Cell ("no port") + DeviceCell (Index));
    }
    for (const auto &[Port, Devices] : Bus.Ports) {
      const std::string Place = fmt::format ("{:02X}.{}", +Port.Device, +Port.Function);
      const std::string Buses =
          Port.SecondaryBus == 0
              ? "no bus"
              : fmt::format ("{:02X}-{:02X}", +Port.SecondaryBus, +Port.SubordinateBus);
      if (!Devices.empty () || (Port.SecondaryBus != 0 && !Legend.HidesEmptyPorts)) {
        Rows += Row (Cell (Place) + Cell (Buses) + DevicesCell (Devices));
      } else if (!Legend.HidesEmptyPorts) {
        Closed += (Closed.empty () ? "" : ", ") + Place;
      }
    }
    if (!Closed.empty ()) {
      Rows += Row (Cell (Closed, "", 2) + Cell ("no bus"));
    }
    if (!Rows.empty ()) {
      WriteBeside (Socket, fmt::format ("bus{}_{:02X}", Socket, Number),
                   Heading (fmt::format ("ports on bus {:02X}", Number), 3) + Rows);
    }
  }

  void
  WriteList (const char *Node, const char *Title, const DeviceIndices &Devices)
  {
    if (Devices.empty ()) {
      return;
    }
    std::string Rows = Heading (Title, 2);
    for (const UINTN Index : Devices) {
      const DescribedDevice &Device = Platform.Devices[Index];
      const std::string Place = PlaceText (Device.Type, PlaceOfDevice (Device));
      Rows +=
          Row (Cell (Place.empty () ? ErrorClassText (Device.Type) : Place) + DeviceCell (Index));
    }
    Text += Table (Node, Rows);
  }

  const PlatformDescription &Platform;
  const GraphLegend &Legend;
  std::string Text;
  std::map<UINT64, std::string> Beside; ///< The nodes that hang on each socket.
};

} // namespace

std::string
GraphText (const PlatformDescription &Platform,
           const PlatformGraph &Graph,
           const GraphLegend &Legend)
{
  return GraphWriter (Platform, Legend).Write (Graph);
}
