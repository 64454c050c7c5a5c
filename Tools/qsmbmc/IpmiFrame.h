/// The bytes between an emulated machine's IPMI interface and its BMC, as QEMU's ipmi-bmc-extern
/// and OpenIPMI's simulator speak them: frames on a stream, and IPMI messages in frames.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <vector>

#include "Base.h"

/// What a frame holds, told by its last byte.
enum class FrameKind : UINT8 {
  Message = 0xA0, ///< An IPMI message with its checksum.
  Control = 0xA1, ///< A command between the machine and the BMC, without a checksum.
};

/// The control command that begins a connection, followed by FRAME_VERSION.
inline constexpr UINT8 CONTROL_VERSION = 0xFF;
inline constexpr UINT8 FRAME_VERSION = 1;

/// Room for the bytes of a frame, without escapes and last byte. QEMU sends at most 300 and some.
inline constexpr UINTN FRAME_SIZE_MAX = 512;

struct Frame {
  FrameKind Kind;
  std::vector<UINT8> Bytes;
};

/// Takes a stream apart, whatever it holds, in bounded memory.
class FrameReader {
public:
  /// Takes the stream's next byte. Returns the frame that it ends. A frame that is larger than
  /// FRAME_SIZE_MAX, is empty, or ends within an escape is dropped.
  std::optional<Frame> Take (UINT8 Byte);

private:
  std::array<UINT8, FRAME_SIZE_MAX> Bytes = {};
  UINTN Size = 0; ///< Goes on to FRAME_SIZE_MAX + 1 for a frame that is too large.
  bool IsEscape = false;
};

/// The frame as it goes over the stream.
std::vector<UINT8> EncodeFrame (FrameKind Kind, std::span<const UINT8> Bytes);

/// A request, or a response, which has the completion code for its first byte of data.
struct IpmiMessage {
  UINT8 Sequence = 0; ///< A response has that of its request.
  UINT8 NetFunction = 0;
  UINT8 Lun = 0;
  UINT8 Command = 0;
  std::vector<UINT8> Data;

  bool operator== (const IpmiMessage &) const = default;
};

/// The message's bytes with the checksum: all of them add up to 0 (modulo 256).
std::vector<UINT8> EncodeMessage (const IpmiMessage &Message);

/// The message of a frame; none if the frame is too short for one or the checksum is wrong.
std::optional<IpmiMessage> DecodeMessage (std::span<const UINT8> Bytes);
