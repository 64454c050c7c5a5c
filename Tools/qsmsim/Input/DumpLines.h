/// The lines of a hex dump in any text, with the same number of characters ahead of each offset.
#pragma once

#include "DecodedText.h"

/// Number of characters ahead of the offset in a dump's line, of which Front is the part ahead of
/// the bytes; npos if there is no offset. A dump has a colon behind the offset or its bytes apart.
std::size_t DumpPrefixSize (std::string_view Front, bool HasBytesApart);

/// The bytes of the dump's lines, up to the first one that is none. It does not own the text.
class DumpLines : public ByteSource {
public:
  DumpLines (ByteWindow &From, std::size_t SizeOfPrefix) : Text (From), PrefixSize (SizeOfPrefix) {}

  bool ReadMore (std::string &Bytes) override;

private:
  ByteWindow &Text;
  std::size_t PrefixSize;
  std::unique_ptr<TextDecoder> Decoder = HexDecoder ();
};
