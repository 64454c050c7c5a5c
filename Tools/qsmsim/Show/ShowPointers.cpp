#include "BootView.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include <fmt/format.h>

#include "Boot.h"
#include "Guid.h"
#include "Record/StaticPointerTable.h"
#include "ShownBytes.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr const char *SlotNames[STATIC_POINTER_COUNT] = {
    "SptSysHost",
    "SptHbmHost",
    "SptSysInfoVar",
    "SptSysSetup",
    "SptSemaphoreData",
    "SptSpdData",
    "SptDebugData",
    "SptMemMapHost",
    nullptr,
    "SptEmulationSetting",
    "SptCpuAndRevision",
    "SptMrcPerformanceData",
    "SptCpgcHost",
    nullptr,
    nullptr,
    nullptr,
};

/// The published table with its ranges, copied.
struct PublishedTable {
  UINT64 Address;
  StaticPointerTable Head;
  std::vector<EFI_SMRAM_DESCRIPTOR> Ranges;

  [[nodiscard]] bool
  IsInSmram (UINT64 Pointer) const
  {
    return std::ranges::any_of (Ranges, [=] (const EFI_SMRAM_DESCRIPTOR &Range) {
      return Pointer >= Range.CpuStart && Pointer - Range.CpuStart < Range.PhysicalSize;
    });
  }
};

std::optional<PublishedTable>
ReadTable ()
{
  const std::span<const UINT8> Block = SharedInterface (gStaticPointerTableProtocolGuid);
  PublishedTable Table = {
      .Address = reinterpret_cast<UINT64> (Block.data ()), .Head = {}, .Ranges = {}};
  if (Block.size () < sizeof Table.Head) {
    return std::nullopt;
  }
  std::memcpy (&Table.Head, Block.data (), sizeof Table.Head);
  const auto Rest = Block.subspan (sizeof Table.Head);
  Table.Ranges.resize (
      std::min<UINTN> (Table.Head.SmramRangeCount, Rest.size () / sizeof (EFI_SMRAM_DESCRIPTOR)));
  std::memcpy (Table.Ranges.data (), Rest.data (),
               Table.Ranges.size () * sizeof (EFI_SMRAM_DESCRIPTOR));
  return Table;
}

/// The head of the block that has been copied to that address, if one has.
std::optional<StaticPointerBlockHeader>
CopiedHeader (UINT64 Pointer)
{
  const std::span<const UINT8> Block = LiveSmmBlock (Pointer);
  StaticPointerBlockHeader Header;
  if (Block.size () < sizeof Header) {
    return std::nullopt;
  }
  std::memcpy (&Header, Block.data (), sizeof Header);
  return Header;
}

std::string
SlotText (const PublishedTable &Table, UINTN Slot)
{
  const UINT64 Pointer = Table.Head.Pointers[Slot];
  std::string Text =
      fmt::format ("  {:>4}  {:<21}  ", Slot, SlotNames[Slot] != nullptr ? SlotNames[Slot] : "-");
  if (Pointer == 0) {
    return Text + "none\n";
  }
  Text += AddressText (Pointer) + (Table.IsInSmram (Pointer) ? "  in SMRAM" : "  outside SMRAM");
  if (const auto Header = CopiedHeader (Pointer)) {
    Text += fmt::format (", {} bytes, signature {}", +Header->Size, GuidText (Header->Signature));
  }
  return Text + "\n";
}

Json
SlotJson (const PublishedTable &Table, UINTN Slot)
{
  const UINT64 Pointer = Table.Head.Pointers[Slot];
  Json Result = {{"slot", Slot},       {"name", nullptr}, {"address", nullptr},
                 {"inSmram", nullptr}, {"size", nullptr}, {"signature", nullptr}};
  if (SlotNames[Slot] != nullptr) {
    Result["name"] = SlotNames[Slot];
  }
  if (Pointer != 0) {
    Result["address"] = AddressText (Pointer);
    Result["inSmram"] = Table.IsInSmram (Pointer);
  }
  if (const auto Header = CopiedHeader (Pointer)) {
    Result["size"] = +Header->Size;
    Result["signature"] = GuidText (Header->Signature);
  }
  return Result;
}

} // namespace

BootView
ViewPointers (const BootResult &)
{
  const auto Table = ReadTable ();
  if (!Table) {
    return {.Summary = "no table",
            .Text = "",
            .Facts = {{"address", nullptr}, {"pointers", Json::array ()}},
            .Missing = "no driver has left the static pointer table"};
  }
  BootView View = {.Summary =
                       fmt::format ("table at {}, {}", AddressText (Table->Address),
                                    Table->Head.Sanitized != 0 ? "sanitized" : "not sanitized"),
                   .Text = "",
                   .Facts = {{"address", AddressText (Table->Address)},
                             {"sanitized", Table->Head.Sanitized != 0},
                             {"smramRanges", Json::array ()},
                             {"pointers", Json::array ()}}};
  for (const EFI_SMRAM_DESCRIPTOR &Range : Table->Ranges) {
    View.Text +=
        fmt::format ("  SMRAM {} of {} bytes\n", AddressText (Range.CpuStart), Range.PhysicalSize);
    View.Facts["smramRanges"].push_back (
        {{"cpuStart", AddressText (Range.CpuStart)}, {"size", Range.PhysicalSize}});
  }
  for (UINTN Slot = 0; Slot < STATIC_POINTER_COUNT; ++Slot) {
    View.Text += SlotText (*Table, Slot);
    View.Facts["pointers"].push_back (SlotJson (*Table, Slot));
  }
  return View;
}
