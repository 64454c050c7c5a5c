#include "ShownBytes.h"

#include <algorithm>

#include <fmt/format.h>

#include "Console.h"

namespace {

constexpr UINTN SHOWN_BYTES_MAX = 16;

} // namespace

std::string
AddressText (UINT64 Address)
{
  return fmt::format ("0x{:012X}", Address);
}

std::string
StartText (std::span<const UINT8> Bytes)
{
  return HexText (Bytes.first (std::min<UINTN> (Bytes.size (), SHOWN_BYTES_MAX)));
}

std::string
CutText (std::span<const UINT8> Bytes)
{
  return StartText (Bytes) + (Bytes.size () > SHOWN_BYTES_MAX ? " ..." : "");
}
