#include "Recognition.h"

#include <algorithm>

#include "DecodedText.h"
#include "ErrorStatusBlocks.h"
#include "InputFile.h"
#include "RawRecords.h"
#include "RedfishJson.h"
#include "TextRuns.h"

namespace {

/// As much is looked at to tell the form.
constexpr std::size_t FrontSize = 4096;

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view Utf16Mark = "\xFF\xFE";

/// The text of UTF-16LE as far as it is Latin-1, which records are.
class NarrowedText : public ByteSource {
public:
  explicit NarrowedText (ByteWindow &From) : Wide (From) {}

  bool
  ReadMore (std::string &Bytes) override
  {
    const std::string_view Ahead = Wide.Ahead (2);
    for (std::size_t Index = 0; Index + 1 < Ahead.size (); Index += 2) {
      Bytes += Ahead[Index + 1] == '\0' ? Ahead[Index] : '?';
    }
    Wide.Take (Ahead.size () / 2 * 2);
    return Ahead.size () >= 2;
  }

private:
  ByteWindow &Wide;
};

/// Reads what a text or another text stands for.
class DecodedRecords : public RecordReader {
public:
  using Opener = std::unique_ptr<RecordReader> (ByteWindow &);

  DecodedRecords (std::unique_ptr<ByteSource> From, Opener &Open, const char *FormOfText)
      : Window (std::move (From)), Inner (Open (Window)), Form (FormOfText)
  {
  }

  std::optional<FoundRecord>
  Next () override
  {
    auto Found = Inner->Next ();
    if (Found) {
      Found->Form = Found->Form.empty () ? Form : Form + ", " + Found->Form;
    }
    return Found;
  }

private:
  ByteWindow Window;
  std::unique_ptr<RecordReader> Inner;
  std::string Form;
};

bool
IsText (std::string_view Bytes)
{
  return std::ranges::none_of (Bytes, [] (char Character) {
    return Character == '\x7F' ||
           (static_cast<unsigned char> (Character) < ' ' && Character != '\t' &&
            Character != '\n' && Character != '\r' && Character != '\f' && Character != '\x1B');
  });
}

/// The part of a text's front that is whole whatever follows.
std::string_view
WholeWords (std::string_view Front)
{
  const std::size_t End = Front.size () < FrontSize ? Front.size () : Front.find_last_of (" \n");
  return Front.substr (0, std::min (End, FrontSize));
}

/// Whether Front is a way of writing records, or a slip breaks off the first record.
bool
AreRecords (std::string_view Front, std::unique_ptr<TextDecoder> Decoder)
{
  std::string Bytes;
  try {
    ByteWindow Text{std::string (Front)};
    DecodedText Source (Text, std::move (Decoder));
    while (Source.ReadMore (Bytes)) {
    }
  } catch (const InputError &) {
    return BeginsLikeRecord (Bytes) && Bytes.size () < RecordLengthOf (Bytes);
  }
  return FindSignature (Bytes) != std::string_view::npos || BeginsLikeErrorStatusBlock (Bytes) ||
         BeginsLikeRecord (Bytes);
}

/// The reader of a text that stands for bytes as a whole; null for another text.
std::unique_ptr<RecordReader>
OpenEncodedText (ByteWindow &Window)
{
  constexpr struct {
    std::unique_ptr<TextDecoder> (*Decoder) ();
    const char *Form;
  } Encodings[] = {{HexDecoder, "hex text"}, {Base64Decoder, "base64"}};

  const std::string_view Front = WholeWords (Window.Ahead (FrontSize).substr (0, FrontSize));
  for (const auto &[Decoder, Form] : Encodings) {
    if (AreRecords (Front, Decoder ())) {
      return std::make_unique<DecodedRecords> (std::make_unique<DecodedText> (Window, Decoder ()),
                                               OpenBytes, Form);
    }
  }
  return nullptr;
}

std::unique_ptr<RecordReader>
OpenText (ByteWindow &Window)
{
  if (auto Encoded = OpenEncodedText (Window)) {
    return Encoded;
  }
  return std::make_unique<TextRuns> (Window);
}

} // namespace

std::unique_ptr<RecordReader>
OpenTextWithRecord (ByteWindow &Window)
{
  auto Encoded = OpenEncodedText (Window);
  if (!Encoded && HasRun (Window.Ahead (0))) {
    return std::make_unique<TextRuns> (Window);
  }
  return Encoded;
}

std::unique_ptr<RecordReader>
OpenBytes (ByteWindow &Window)
{
  if (!BeginsLikeRecord (Window.Ahead (4)) &&
      BeginsLikeErrorStatusBlock (Window.Ahead (RECOGNISED_SIZE))) {
    return std::make_unique<ErrorStatusBlocks> (Window);
  }
  return std::make_unique<RawRecords> (Window);
}

std::unique_ptr<RecordReader>
OpenInput (ByteWindow &Window)
{
  if (Window.Ahead (Utf8Mark.size ()).starts_with (Utf8Mark)) {
    Window.Take (Utf8Mark.size ());
  }
  if (Window.Ahead (Utf16Mark.size ()).starts_with (Utf16Mark)) {
    Window.Take (Utf16Mark.size ());
    return std::make_unique<DecodedRecords> (std::make_unique<NarrowedText> (Window), OpenInput,
                                             "UTF-16");
  }
  if (BeginsLikeRecord (Window.Ahead (4))) {
    return std::make_unique<RawRecords> (Window);
  }
  if (BeginsLikeJson (Window.Ahead (1))) {
    return std::make_unique<RedfishJson> (Window);
  }
  if (IsText (Window.Ahead (FrontSize).substr (0, FrontSize))) {
    return OpenText (Window);
  }
  return OpenBytes (Window);
}
