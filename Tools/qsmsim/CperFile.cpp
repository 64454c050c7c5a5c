#include "CperFile.h"

#include <fmt/format.h>

#include "CperLayout.h"
#include "FrontOf.h"
#include "InputFile.h"

namespace {

/// Refuses a record that ends before the byte at End, which closes What.
void
ExpectBytesTo (const CperFile &File, UINTN End, std::string_view What)
{
  if (File.Bytes.size () < End) {
    throw InputError (fmt::format ("{}: offset {}: expected {} up to offset {}, "
                                   "found the end of the record",
                                   File.Name, File.Bytes.size (), What, End - 1));
  }
}

} // namespace

void
ExpectCper (const CperFile &File)
{
  const auto Record = FrontOf<ErrorRecord> (File.Bytes);
  const auto Expect = [&] (bool Holds, UINTN Offset, std::string_view What) {
    if (!Holds && File.Bytes.size () > Offset) {
      throw InputError (fmt::format ("{}: offset {}: expected {}", File.Name, Offset, What));
    }
  };
  Expect (Record.Header.SignatureStart == CPER_SIGNATURE_START, 0, "the signature \"CPER\"");
  ExpectBytesTo (File, offsetof (ErrorRecord, Section), "the record's header");
  Expect (Record.Header.SignatureEnd == CPER_SIGNATURE_END,
          offsetof (CperRecordHeader, SignatureEnd), "the end of the signature, FF FF FF FF");
  ExpectBytesTo (File, offsetof (ErrorRecord, Memory), "the first section's descriptor");
}
