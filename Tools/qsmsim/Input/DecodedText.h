/// Text that stands for bytes.
#pragma once

#include <exception>

#include "ByteWindow.h"

/// Decodes one way of writing bytes as text.
class TextDecoder {
public:
  virtual ~TextDecoder () = default;

  /// Appends to Bytes what a line stands for; of a long line, what a piece of it does. Throws
  /// InputError for what it is not made of; Offset is that of the line.
  virtual void Decode (std::string_view Line, UINT64 Offset, std::string &Bytes) = 0;
};

inline constexpr std::string_view HEX_DIGITS = "0123456789ABCDEFabcdef";

/// Fewer digits are no offset of a dump.
inline constexpr std::size_t DUMP_OFFSET_SIZE_MIN = 6;

/// Bytes in hexadecimal: any number of pairs of digits together, "0x" or "\x" ahead of them or not,
/// between blanks, commas, brackets and line ends; or a dump with a column of offsets and one of
/// characters, as xxd, hexdump -C and od -t x1 write it, left-out lines ("*") included.
std::unique_ptr<TextDecoder> HexDecoder ();

/// Base64 in either alphabet (RFC 4648). What follows a padding begins anew.
std::unique_ptr<TextDecoder> Base64Decoder ();

/// The bytes for which the rest of a text stands, which it does not own.
class DecodedText : public ByteSource {
public:
  DecodedText (ByteWindow &From, std::unique_ptr<TextDecoder> By)
      : Text (From), Decoder (std::move (By))
  {
  }

  bool ReadMore (std::string &Bytes) override;

private:
  ByteWindow &Text;
  std::unique_ptr<TextDecoder> Decoder;
  std::exception_ptr Failure; ///< Behind the bytes that were there ahead of it.
};
