#include "BootView.h"

#include <fmt/format.h>

#include "Boot.h"
#include "Guid.h"
#include "Record/UpiHostData.h"
#include "ShownBytes.h"

// The records are packed: their fields are passed on by value, which the plus signs see to.

namespace {

using Json = nlohmann::ordered_json;

std::string
StackText (const UpiHostRecord &Record, UINTN Socket, UINTN Stack)
{
  return fmt::format (
      "      {:>5}  0x{:08X}  {}\n", Stack, +Record.Socket[Socket].Stack[Stack].UpiStackDword39,
      Stack < CXL_STACK_MAX ? fmt::format ("0x{:02X}", +Record.CxlStack[Socket][Stack].Status)
                            : "-");
}

Json
StackJson (const UpiHostRecord &Record, UINTN Socket, UINTN Stack)
{
  Json Result = {{"stack", Stack},
                 {"upiStackDword39", +Record.Socket[Socket].Stack[Stack].UpiStackDword39},
                 {"cxlStatus", nullptr}};
  if (Stack < CXL_STACK_MAX) {
    Result["cxlStatus"] = +Record.CxlStack[Socket][Stack].Status;
  }
  return Result;
}

/// Adds what the drivers of this boot know of the record to its line and its object.
void
AddSockets (const UpiHostRecord &Record, std::string &Text, Json &Object)
{
  Text += fmt::format ("    socket bitmap 0x{:08X}\n", +Record.SocketBitmap);
  Object["socketBitmap"] = +Record.SocketBitmap;
  Object["sockets"] = Json::array ();
  for (UINTN Number = 0; Number < SOCKET_MAX; ++Number) {
    if ((Record.SocketBitmap >> Number & 1) == 0) {
      continue;
    }
    const UpiHostSocket &Socket = Record.Socket[Number];
    Text += fmt::format ("    socket {}: byte 69 0x{:02X}, byte 71 0x{:02X}\n"
                         "      stack  dword 39    CXL status\n",
                         Number, +Socket.UpiSocketByte69, +Socket.UpiSocketByte71);
    Json Stacks = Json::array ();
    for (UINTN Stack = 0; Stack < IIO_STACK_MAX; ++Stack) {
      Text += StackText (Record, Number, Stack);
      Stacks.push_back (StackJson (Record, Number, Stack));
    }
    Object["sockets"].push_back ({{"socket", Number},
                                  {"upiSocketByte69", +Socket.UpiSocketByte69},
                                  {"upiSocketByte71", +Socket.UpiSocketByte71},
                                  {"stacks", std::move (Stacks)}});
  }
}

} // namespace

BootView
ViewUpi (const BootResult &)
{
  const std::span<const UINT8> Bytes = SharedInterface (gSmmKtiProtocolGuid);
  if (Bytes.size () < sizeof (UpiHostDataBlock)) {
    return {.Summary = "no UPI records",
            .Text = "",
            .Facts = {{"address", nullptr}, {"records", Json::array ()}},
            .Missing = "no driver has left the UPI host data"};
  }
  const auto &Block = *reinterpret_cast<const UpiHostDataBlock *> (Bytes.data ());
  const struct {
    const char *Name;
    const EFI_GUID &Hob;
    std::span<const UINT8> Bytes;
  } Rows[] = {
      {"first record", gUpiFirstRecordHobGuid, Block.FirstRecord},
      {"UpiHostRecord", gUpiHostRecordHobGuid,
       Bytes.subspan (offsetof (UpiHostDataBlock, HostRecord), sizeof Block.HostRecord)},
      {"third record", gUpiThirdRecordHobGuid, Block.ThirdRecord},
  };
  const UINT64 Address = reinterpret_cast<UINT64> (Bytes.data ());
  BootView View = {
      .Summary = fmt::format ("UPI block of {} bytes at {}", Bytes.size (), AddressText (Address)),
      .Text = "",
      .Facts = {{"address", AddressText (Address)},
                {"size", Bytes.size ()},
                {"records", Json::array ()}}};
  for (const auto &Row : Rows) {
    const std::string Start = AddressText (reinterpret_cast<UINT64> (Row.Bytes.data ()));
    View.Text += fmt::format ("  {:<13} {:>5} bytes at {}, from {}\n    {}\n", Row.Name,
                              Row.Bytes.size (), Start, GuidText (Row.Hob), CutText (Row.Bytes));
    Json &Object = View.Facts["records"].emplace_back (Json{{"name", Row.Name},
                                                            {"hob", GuidText (Row.Hob)},
                                                            {"address", Start},
                                                            {"size", Row.Bytes.size ()},
                                                            {"start", StartText (Row.Bytes)}});
    if (Row.Bytes.size () == sizeof Block.HostRecord) {
      AddSockets (Block.HostRecord, View.Text, Object);
    }
  }
  return View;
}
