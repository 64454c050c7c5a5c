#include "BootView.h"

#include <algorithm>

#include <fmt/format.h>

#include "Boot.h"
#include "Record/IioTopologyStore.h"
#include "ShownBytes.h"

// The records are packed: their fields are passed on by value, which the plus signs see to.

namespace {

using Json = nlohmann::ordered_json;

/// The ports that a walk over the store finds.
std::vector<IioTopologyPort>
ValidPorts (const IioTopologySocket &Socket)
{
  std::vector<IioTopologyPort> Ports;
  for (UINTN Index = 0; Index < std::min<UINTN> (Socket.MaxPort, IIO_PORT_MAX); ++Index) {
    if (Socket.Port[Index].Valid != 0) {
      Ports.push_back (Socket.Port[Index]);
    }
  }
  return Ports;
}

std::string
StackText (UINTN Number, const IioTopologyStack &Stack)
{
  const char *Cxl = Stack.CxlReady == 0 ? "no" : Stack.CxlRcrbAllOnes == 0 ? "answers" : "silent";
  return fmt::format (
      "    {:>5}  {:<7}  {:<7}  {:>12}  {:>12}  0x{:X}\n", Number,
      Stack.Present != 0 ? "yes" : "no", Cxl, fmt::format ("0x{:02X}", +Stack.PolicyStackByte20082),
      fmt::format ("0x{:02X}", +Stack.PolicyStackByte20178), +Stack.UpiStackDword39);
}

Json
StackJson (UINTN Number, const IioTopologyStack &Stack)
{
  return {{"stack", Number},
          {"present", Stack.Present != 0},
          {"cxlReady", Stack.CxlReady != 0},
          {"cxlRcrbAllOnes", Stack.CxlRcrbAllOnes != 0},
          {"policyStackByte20082", +Stack.PolicyStackByte20082},
          {"policyStackByte20178", +Stack.PolicyStackByte20178},
          {"upiStackDword39", +Stack.UpiStackDword39}};
}

std::string
PortText (UINTN Number, const IioTopologyPort &Port)
{
  return fmt::format ("    {:>5}  {:02X}:{:02X}.{:X}  {:>9}  {:>11}\n", Number, +Port.Bus,
                      +Port.Device, +Port.Function, fmt::format ("{:02X}", +Port.SecondaryBus),
                      fmt::format ("{:02X}", +Port.SubordinateBus));
}

Json
PortJson (UINTN Number, const IioTopologyPort &Port)
{
  return {{"port", Number},
          {"bus", +Port.Bus},
          {"device", +Port.Device},
          {"function", +Port.Function},
          {"secondaryBus", +Port.SecondaryBus},
          {"subordinateBus", +Port.SubordinateBus}};
}

std::string
SocketText (UINTN Number, const IioTopologySocket &Socket)
{
  const std::vector<IioTopologyPort> Ports = ValidPorts (Socket);
  const auto StackCount = std::ranges::count_if (
      Socket.Stack, [] (const IioTopologyStack &Stack) { return Stack.Present != 0; });
  std::string Text = fmt::format (
      "  socket {}: {} of {} stacks, {} of {} ports, UPI 69 0x{:02X}, UPI 71 0x{:02X},\n"
      "            system 286 0x{:02X}, system 294 0x{:02X}, system 424 0x{:X}\n"
      "    stack  present  CXL      policy 20082  policy 20178  UPI 39\n",
      Number, StackCount, IIO_STACK_MAX, Ports.size (), +Socket.MaxPort, +Socket.UpiSocketByte69,
      +Socket.UpiSocketByte71, +Socket.SysInfoByte286, +Socket.SysInfoByte294,
      +Socket.SysInfoDword424);
  for (UINTN Stack = 0; Stack < IIO_STACK_MAX; ++Stack) {
    Text += StackText (Stack, Socket.Stack[Stack]);
  }
  Text += "     port  place    secondary  subordinate\n";
  for (UINTN Port = 0; Port < Ports.size (); ++Port) {
    Text += PortText (Port, Ports[Port]);
  }
  return Text;
}

Json
SocketJson (UINTN Number, const IioTopologySocket &Socket)
{
  Json Stacks = Json::array (), Ports = Json::array ();
  for (UINTN Stack = 0; Stack < IIO_STACK_MAX; ++Stack) {
    Stacks.push_back (StackJson (Stack, Socket.Stack[Stack]));
  }
  for (const IioTopologyPort &Port : ValidPorts (Socket)) {
    Ports.push_back (PortJson (Ports.size (), Port));
  }
  return {{"socket", Number},
          {"maxPort", +Socket.MaxPort},
          {"upiSocketByte69", +Socket.UpiSocketByte69},
          {"upiSocketByte71", +Socket.UpiSocketByte71},
          {"sysInfoByte286", +Socket.SysInfoByte286},
          {"sysInfoByte294", +Socket.SysInfoByte294},
          {"sysInfoDword424", +Socket.SysInfoDword424},
          {"stacks", std::move (Stacks)},
          {"ports", std::move (Ports)}};
}

} // namespace

BootView
ViewTopology (const BootResult &)
{
  const auto Buffer = FindSharedBuffer (PlatIioTopologyName);
  if (!Buffer || Buffer->Content.size () < sizeof (IioTopologyStore)) {
    return {.Summary = "no topology",
            .Text = "",
            .Facts = {{"address", nullptr}, {"sockets", Json::array ()}},
            .Missing = "no driver has left the shared buffer PlatIioTopology"};
  }
  const auto &Store = *reinterpret_cast<const IioTopologyStore *> (Buffer->Content.data ());
  BootView View = {
      .Summary = "",
      .Text = "",
      .Facts = {{"address", AddressText (Buffer->Address)}, {"sockets", Json::array ()}}};
  Json &Sockets = View.Facts["sockets"];
  for (UINTN Number = 0; Number < SOCKET_MAX; ++Number) {
    if (Store.Socket[Number].Valid != 0) {
      View.Text += SocketText (Number, Store.Socket[Number]);
      Sockets.push_back (SocketJson (Number, Store.Socket[Number]));
    }
  }
  View.Summary = fmt::format ("{}, store at {}", CountText (Sockets.size (), "socket"),
                              AddressText (Buffer->Address));
  return View;
}
