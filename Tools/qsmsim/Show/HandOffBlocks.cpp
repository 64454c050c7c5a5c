#include "HandOffBlocks.h"

#include <cstring>

#include <fmt/format.h>

#include "HobList.h"

namespace {

constexpr struct {
  UINT16 Type;
  const char *Text;
  bool HasName; ///< The block's first field is a GUID.
} Types[] = {
    {EFI_HOB_TYPE_HANDOFF, "phase hand-off", false},
    {EFI_HOB_TYPE_MEMORY_ALLOCATION, "memory allocation", true},
    {EFI_HOB_TYPE_RESOURCE_DESCRIPTOR, "resource", true},
    {EFI_HOB_TYPE_GUID_EXTENSION, "guid", true},
    {EFI_HOB_TYPE_FV, "firmware volume", false},
    {EFI_HOB_TYPE_CPU, "cpu", false},
    {EFI_HOB_TYPE_END_OF_HOB_LIST, "end of list", false},
};

bool
HasName (UINT16 Type)
{
  for (const auto &Row : Types) {
    if (Row.Type == Type) {
      return Row.HasName;
    }
  }
  return false;
}

} // namespace

std::vector<HandOffBlock>
ReadHandOffBlocks ()
{
  const auto *Next = reinterpret_cast<const UINT8 *> (HobListHead ());
  const UINT8 *End = Next + HobListSize;
  std::vector<HandOffBlock> Blocks;
  UINT16 Type = 0;
  while (Type != EFI_HOB_TYPE_END_OF_HOB_LIST && End - Next >= EFI_HOB_ALIGNMENT) {
    EFI_HOB_GENERIC_HEADER Header;
    std::memcpy (&Header, Next, sizeof Header);
    Type = Header.HobType;
    const UINTN DataOffset = sizeof Header + (HasName (Type) ? sizeof (EFI_GUID) : 0);
    if (Header.HobLength < DataOffset || Header.HobLength > End - Next) {
      break;
    }
    HandOffBlock &Block = Blocks.emplace_back ();
    Block.Type = Type;
    Block.Length = Header.HobLength;
    if (HasName (Type)) {
      std::memcpy (&Block.Name.emplace (), Next + sizeof Header, sizeof (EFI_GUID));
    }
    Block.Data.assign (Next + DataOffset, Next + Header.HobLength);
    Next += Header.HobLength;
  }
  return Blocks;
}

std::string
HandOffTypeText (UINT16 Type)
{
  for (const auto &Row : Types) {
    if (Row.Type == Type) {
      return Row.Text;
    }
  }
  return fmt::format ("type 0x{:04X}", Type);
}
