#include "RecordSource.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>

#include "InputFile.h"
#include "Recognition.h"

namespace {

constexpr const char *StandardInput = "-";

FileDescriptor
OpenFile (const std::filesystem::path &Path)
{
  FileDescriptor Open (Path == StandardInput ? dup (STDIN_FILENO)
                                             : open (Path.c_str (), O_RDONLY | O_CLOEXEC));
  if (!Open.IsOpen ()) {
    throw InputError (fmt::format ("expected a readable file: {}", std::strerror (errno)));
  }
  return Open;
}

/// The whole of a file as one record.
class WholeFile : public RecordReader {
public:
  explicit WholeFile (ByteWindow &From) : Window (From) {}

  std::optional<FoundRecord>
  Next () override
  {
    if (IsRead) {
      return std::nullopt;
    }
    IsRead = true;
    const std::string_view Bytes = Window.Ahead (RECORD_SIZE_MAX + 1);
    if (Bytes.size () > RECORD_SIZE_MAX) {
      throw InputError (fmt::format ("offset {}: expected the end of the file", RECORD_SIZE_MAX));
    }
    return FoundRecord{.Bytes = {Bytes.begin (), Bytes.end ()}, .Place = {}, .Form = {}};
  }

private:
  ByteWindow &Window;
  bool IsRead = false;
};

} // namespace

void
RecordSource::Open (const InputFiles::File &File)
{
  Name = File.Path.string ();
  MustHaveRecord = File.IsChosen;
  HasRecord = false;
  Window =
      std::make_unique<ByteWindow> (std::make_unique<FileBytes> (OpenFile (File.Path), Output));
  Reader = IsRaw ? std::make_unique<WholeFile> (*Window) : OpenInput (*Window);
}

[[noreturn]] void
RecordSource::ComplainOf (const InputError &Error)
{
  HasRecord = true; // One complaint of it is enough.
  throw InputError (fmt::format ("{}: {}", Name, Error.what ()));
}

/// The next record of the file that is open, or none if it has no more.
std::optional<CperFile>
RecordSource::NextOfFile ()
{
  auto Found = Reader->Next ();
  if (!Found) {
    Reader.reset ();
    if (!HasRecord) {
      throw OtherInputError (
          "expected an error record: bytes that begin with \"CPER\", these in hexadecimal (byte by "
          "byte, as in hexdump -C) or base64, a Generic Error Status Block, Redfish JSON, or a "
          "text with one of them; found none");
    }
    return std::nullopt;
  }
  const bool IsFirst = !std::exchange (HasRecord, true);
  return CperFile{.Name = Found->Place.empty () ? Name : Name + ", " + Found->Place,
                  .Bytes = std::move (Found->Bytes),
                  .Form = std::move (Found->Form),
                  .Notes = std::move (Found->Notes),
                  .IsFirst = IsFirst};
}

std::optional<CperFile>
RecordSource::Next ()
{
  for (;;) {
    const auto File = Reader ? std::nullopt : Files.Next ();
    if (!Reader && !File) {
      return std::nullopt;
    }
    std::optional<CperFile> Found;
    try {
      if (File) {
        Open (*File);
      }
      Found = NextOfFile ();
    } catch (const OtherInputError &Error) {
      if (MustHaveRecord || HasRecord) {
        ComplainOf (Error);
      }
      continue;
    } catch (const InputError &Error) {
      ComplainOf (Error);
    }
    if (Found) {
      if (!IsRaw) {
        ExpectCper (*Found);
      }
      return Found;
    }
  }
}
