#include "ErrorStatusBlocks.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <fmt/format.h>

#include "FrontOf.h"
#include "InputFile.h"
#include "SectionRecord.h"

namespace {

constexpr std::size_t EntrySizeMin = offsetof (ErrorDataEntry, TimeStamp);

/// Raw data lies close behind the entries, if there is any.
constexpr std::size_t RawSizeMax = 1024 * 1024;

template <typename Layout>
Layout
LayoutAt (std::string_view Bytes)
{
  return FrontOf<Layout> ({reinterpret_cast<const UINT8 *> (Bytes.data ()), Bytes.size ()});
}

UINTN
EntryCountOf (const ErrorStatusBlock &Head)
{
  return Head.BlockStatus >> ERROR_STATUS_COUNT_SHIFT & ERROR_STATUS_COUNT_MAX;
}

std::size_t
EntryHeadSize (const ErrorDataEntry &Entry)
{
  return Entry.Revision >= ERROR_DATA_REVISION_TIMED ? sizeof Entry : EntrySizeMin;
}

} // namespace

bool
BeginsLikeErrorStatusBlock (std::string_view Bytes)
{
  Bytes.remove_prefix (std::min (Bytes.find_first_not_of ('\0'), Bytes.size ()));
  if (Bytes.size () < sizeof (ErrorStatusBlock) + EntrySizeMin) {
    return false;
  }
  const auto Head = LayoutAt<ErrorStatusBlock> (Bytes);
  const auto First = LayoutAt<ErrorDataEntry> (Bytes.substr (sizeof Head));
  return (Head.BlockStatus & ERROR_STATUS_KINDS) != 0 &&
         (Head.BlockStatus & ERROR_STATUS_RESERVED) == 0 && EntryCountOf (Head) != 0 &&
         Head.ErrorSeverity <= CperSeverityInformational && Head.DataLength <= RECORD_SIZE_MAX &&
         First.ErrorSeverity <= CperSeverityInformational &&
         EntryHeadSize (First) + First.ErrorDataLength <= Head.DataLength;
}

/// Takes so many bytes, or all that there are.
void
ErrorStatusBlocks::Skip (std::size_t Size)
{
  Window.Take (std::min (Size, Window.Ahead (Size).size ()));
}

/// Goes to the next block. Returns false if there is none.
bool
ErrorStatusBlocks::BeginBlock ()
{
  const std::size_t Unread = std::exchange (DataLeft, 0);
  const UINT64 UnreadOffset = Window.Offset ();
  Skip (Unread + std::exchange (RawSize, 0));
  if (Unread != 0) {
    throw InputError (fmt::format ("offset 0x{:X}: expected the end of a Generic Error Status "
                                   "Block behind section {} of {}, found {} more bytes of its data",
                                   UnreadOffset, Entry, EntryCount, Unread));
  }
  EntryCount = Entry = 0;
  while (Window.Ahead (1).starts_with ('\0')) {
    const std::string_view Zeros = Window.Ahead (1);
    Window.Take (std::min (Zeros.find_first_not_of ('\0'), Zeros.size ()));
  }
  const std::string_view Bytes = Window.Ahead (sizeof (ErrorStatusBlock) + EntrySizeMin);
  if (Bytes.empty () || IsLost) {
    return false;
  }
  if (!BeginsLikeErrorStatusBlock (Bytes)) {
    IsLost = true;
    throw InputError (
        fmt::format ("offset 0x{:X}: expected a Generic Error Status Block or zeros, found neither",
                     Window.Offset ()));
  }
  const auto Head = LayoutAt<ErrorStatusBlock> (Bytes);
  Window.Take (sizeof Head);
  ++Block;
  EntryCount = EntryCountOf (Head);
  DataLeft = Head.DataLength;
  const std::size_t RawEnd = std::size_t{Head.RawDataOffset} + Head.RawDataLength;
  const std::size_t DataEnd = sizeof Head + DataLeft;
  if (Head.RawDataLength != 0 && RawEnd > DataEnd && RawEnd - DataEnd <= RawSizeMax) {
    RawSize = RawEnd - DataEnd;
  }
  return true;
}

FoundRecord
ErrorStatusBlocks::TakeEntry ()
{
  const UINT64 Offset = Window.Offset ();
  const std::string_view Bytes = Window.Ahead (DataLeft).substr (0, DataLeft);
  const auto Head = LayoutAt<ErrorDataEntry> (Bytes);
  const std::size_t HeadSize = EntryHeadSize (Head);
  const std::size_t Size = HeadSize + Head.ErrorDataLength;
  if (Bytes.size () < EntrySizeMin || Bytes.size () < Size) {
    const std::string Place = fmt::format ("section {} of {}", Entry + 1, EntryCount);
    const std::size_t Found = Bytes.size ();
    Entry = EntryCount; // The entries behind it cannot be found.
    Skip (std::exchange (DataLeft, 0));
    throw InputError (fmt::format ("offset 0x{:X}: expected {} of a Generic Error Status Block, {} "
                                   "bytes, found {}",
                                   Offset, Place, std::max (Size, EntrySizeMin), Found));
  }
  LooseSection Section = {.Type = Head.SectionType,
                          .Severity = Head.ErrorSeverity,
                          .ValidationBits = Head.ValidationBits,
                          .Flags = Head.Flags,
                          .FruId = Head.FruId,
                          .FruText = {},
                          .TimeStamp = {}};
  Section.ValidationBits &= static_cast<UINT8> (~ERROR_DATA_TIME_VALID);
  std::memcpy (Section.FruText, Head.FruText, sizeof (Section.FruText));
  if (HeadSize == sizeof Head && (Head.ValidationBits & ERROR_DATA_TIME_VALID) != 0) {
    Section.TimeStamp = Head.TimeStamp;
  }
  FoundRecord Found = {
      .Bytes = RecordOfSection (Section, Bytes.substr (HeadSize, Head.ErrorDataLength)),
      .Place = fmt::format ("section {} of {} at offset 0x{:X}", ++Entry, EntryCount, Offset),
      .Form = "Generic Error Status Block, its entries made into records"};
  if (Block > 1) {
    Found.Place = fmt::format ("block {}, {}", Block, Found.Place);
  }
  Window.Take (Size);
  DataLeft -= Size;
  return Found;
}

std::optional<FoundRecord>
ErrorStatusBlocks::Next ()
{
  if (Entry == EntryCount && !BeginBlock ()) {
    return std::nullopt;
  }
  return TakeEntry ();
}
