#include "RawRecords.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "InputFile.h"
#include "Record/ErrorRecord.h"

namespace {

constexpr std::string_view Signature = "CPER";
constexpr std::string_view SignatureEnd = "\xFF\xFF\xFF\xFF";
constexpr std::size_t SignatureEndOffset = offsetof (CperRecordHeader, SignatureEnd);
constexpr std::size_t SignatureSize = SignatureEndOffset + SignatureEnd.size ();
static_assert (CPER_SIGNATURE_END == 0xFFFFFFFF);

/// No record is shorter than its header and a descriptor.
constexpr std::size_t RecordSizeMin = sizeof (CperRecordHeader) + sizeof (CperSectionDescriptor);

bool
IsPadding (char Byte)
{
  return Byte == '\0' || Byte == '\xFF' || Byte == '\n' || Byte == '\r';
}

/// Whether Bytes have the first section as a whole, and there is no other record in them.
bool
IsWholeRecord (std::string_view Bytes)
{
  CperSectionDescriptor First = {};
  std::memcpy (&First, Bytes.data () + sizeof (CperRecordHeader), sizeof First);
  return UINT64{First.SectionOffset} + First.SectionLength <= Bytes.size () &&
         FindSignature (Bytes, sizeof (CperRecordHeader)) == std::string_view::npos;
}

} // namespace

std::size_t
FindSignature (std::string_view Bytes, std::size_t Start)
{
  std::size_t Found = Bytes.find (Signature, Start);
  while (Found != std::string_view::npos &&
         !Bytes.substr (std::min (Found + SignatureEndOffset, Bytes.size ()))
              .starts_with (SignatureEnd)) {
    Found = Bytes.find (Signature, Found + 1);
  }
  return Found;
}

bool
BeginsLikeRecord (std::string_view Bytes)
{
  return Bytes.starts_with (Signature);
}

std::size_t
RecordLengthOf (std::string_view Bytes)
{
  CperRecordHeader Header = {};
  if (Bytes.size () < sizeof Header) {
    return RECORD_SIZE_MAX;
  }
  std::memcpy (&Header, Bytes.data (), sizeof Header);
  return Header.RecordLength;
}

RawRecords::RawRecords (ByteWindow &From)
    : Window (From), Scattered (!BeginsLikeRecord (From.Ahead (Signature.size ())))
{
}

/// Takes what lies ahead of the next record. Returns how many of these bytes are no padding.
std::size_t
RawRecords::SkipOther ()
{
  std::size_t Other = 0;
  for (;;) {
    const std::string_view Bytes = Window.Ahead (SignatureSize);
    const std::size_t Found = FindSignature (Bytes);
    // A signature may have begun at the end of what is there.
    std::size_t Size = Found;
    if (Found == std::string_view::npos) {
      Size = Bytes.size () < SignatureSize ? Bytes.size () : Bytes.size () - SignatureSize + 1;
    }
    const std::string_view Skipped = Bytes.substr (0, Size);
    Other += Size - static_cast<std::size_t> (std::ranges::count_if (Skipped, IsPadding));
    Window.Take (Size);
    if (Found != std::string_view::npos || Window.Ahead (1).empty ()) {
      return Other;
    }
  }
}

/// Size in bytes of the record that begins here.
std::size_t
RawRecords::RecordSize ()
{
  const std::string_view Front = Window.Ahead (sizeof (CperRecordHeader));
  if (Front.size () < sizeof (CperRecordHeader)) {
    return Front.size ();
  }
  const std::size_t Length = RecordLengthOf (Front);
  const bool CanBe = Length >= RecordSizeMin && Length <= RECORD_SIZE_MAX;
  std::string_view Bytes = Window.Ahead (CanBe ? Length : RECORD_SIZE_MAX + 1);
  if (CanBe && Bytes.size () >= Length) {
    if (IsWholeRecord (Bytes.substr (0, Length))) {
      return Length; // Without a look behind it, where nothing may be yet.
    }
    Bytes = Window.Ahead (Length + SignatureSize);
    const std::string_view Behind = Bytes.substr (Length);
    if (Behind.empty () || FindSignature (Behind.substr (0, SignatureSize)) == 0) {
      return Length;
    }
    if (IsPadding (Behind.front ()) &&
        FindSignature (Bytes.substr (0, Length), sizeof (CperRecordHeader)) ==
            std::string_view::npos) {
      return Length;
    }
    Bytes = Window.Ahead (RECORD_SIZE_MAX + 1);
  }
  const std::size_t Next = FindSignature (Bytes, sizeof (CperRecordHeader));
  const std::size_t Rest = std::min (Next, Bytes.size ());
  if (Rest <= RECORD_SIZE_MAX) {
    return Rest;
  }
  if (CanBe) {
    return Length;
  }
  const UINT64 Offset = Window.Offset ();
  Window.Take (Signature.size ());
  Scattered = true;
  throw InputError (
      fmt::format ("offset 0x{:X}: expected a record of {} to {} bytes, its RecordLength is {}",
                   Offset, RecordSizeMin, RECORD_SIZE_MAX, Length));
}

std::optional<FoundRecord>
RawRecords::Next ()
{
  if (Count > 0 || Scattered) {
    const UINT64 Behind = Window.Offset ();
    const std::size_t Other = SkipOther ();
    if (Other != 0 && !Scattered) {
      throw InputError (fmt::format ("offset 0x{:X}: expected a record, found {} other bytes",
                                     Behind, Window.Offset () - Behind));
    }
  }
  const UINT64 Offset = Window.Offset ();
  if (Window.Ahead (1).empty ()) {
    return std::nullopt;
  }
  const std::size_t Size = RecordSize ();
  const std::string_view Bytes = Window.Ahead (Size).substr (0, Size);
  if (++Count == 1 && Offset != 0) {
    Form = fmt::format ("records among other bytes, the first at offset 0x{:X}", Offset);
  }
  FoundRecord Found = {.Bytes = {Bytes.begin (), Bytes.end ()}, .Place = {}, .Form = Form};
  Window.Take (Size);
  if (Offset != 0) {
    Found.Place = fmt::format ("record {} at offset 0x{:X}", Count, Offset);
  }
  return Found;
}
