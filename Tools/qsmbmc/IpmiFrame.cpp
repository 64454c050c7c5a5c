#include "IpmiFrame.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace {

constexpr UINT8 ESCAPE = 0xAA; ///< The next byte has ESCAPED_BIT set and is none of the three.
constexpr UINT8 ESCAPED_BIT = 0x10;

/// Sequence number, network function with LUN, command; and behind the data the checksum.
constexpr UINTN HEADER_SIZE = 3;
constexpr UINTN CHECKSUM_SIZE = 1;

bool
EndsFrame (UINT8 Byte)
{
  return Byte == static_cast<UINT8> (FrameKind::Message) ||
         Byte == static_cast<UINT8> (FrameKind::Control);
}

UINT8
Sum (std::span<const UINT8> Bytes)
{
  return static_cast<UINT8> (std::accumulate (Bytes.begin (), Bytes.end (), 0U));
}

} // namespace

std::optional<Frame>
FrameReader::Take (UINT8 Byte)
{
  if (EndsFrame (Byte)) {
    const bool IsWhole = Size > 0 && Size <= FRAME_SIZE_MAX && !IsEscape;
    const UINTN FrameSize = Size;
    Size = 0;
    IsEscape = false;
    if (!IsWhole) {
      return std::nullopt;
    }
    return Frame{static_cast<FrameKind> (Byte), {Bytes.data (), Bytes.data () + FrameSize}};
  }
  if (Byte == ESCAPE) {
    IsEscape = true;
    return std::nullopt;
  }
  if (IsEscape) {
    Byte = static_cast<UINT8> (Byte & ~ESCAPED_BIT);
    IsEscape = false;
  }
  if (Size < FRAME_SIZE_MAX) {
    Bytes[Size] = Byte;
  }
  Size = std::min (Size + 1, FRAME_SIZE_MAX + 1);
  return std::nullopt;
}

std::vector<UINT8>
EncodeFrame (FrameKind Kind, std::span<const UINT8> Bytes)
{
  std::vector<UINT8> Stream;
  for (const UINT8 Byte : Bytes) {
    if (EndsFrame (Byte) || Byte == ESCAPE) {
      Stream.push_back (ESCAPE);
      Stream.push_back (Byte | ESCAPED_BIT);
    } else {
      Stream.push_back (Byte);
    }
  }
  Stream.push_back (static_cast<UINT8> (Kind));
  return Stream;
}

std::vector<UINT8>
EncodeMessage (const IpmiMessage &Message)
{
  std::vector<UINT8> Bytes = {Message.Sequence,
                              static_cast<UINT8> (Message.NetFunction << 2 | (Message.Lun & 3)),
                              Message.Command};
  std::ranges::copy (Message.Data, std::back_inserter (Bytes));
  Bytes.push_back (static_cast<UINT8> (-Sum (Bytes)));
  return Bytes;
}

std::optional<IpmiMessage>
DecodeMessage (std::span<const UINT8> Bytes)
{
  if (Bytes.size () < HEADER_SIZE + CHECKSUM_SIZE || Sum (Bytes) != 0) {
    return std::nullopt;
  }
  const auto Data = Bytes.subspan (HEADER_SIZE, Bytes.size () - HEADER_SIZE - CHECKSUM_SIZE);
  return IpmiMessage{.Sequence = Bytes[0],
                     .NetFunction = static_cast<UINT8> (Bytes[1] >> 2),
                     .Lun = static_cast<UINT8> (Bytes[1] & 3),
                     .Command = Bytes[2],
                     .Data = {Data.begin (), Data.end ()}};
}
