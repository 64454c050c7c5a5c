#include "TemporaryDirectory.h"

#include <cerrno>
#include <system_error>

#include <fmt/format.h>
#include <stdlib.h>

#include "InputFile.h"

TemporaryDirectory::TemporaryDirectory ()
{
  std::error_code Error;
  std::string Name = (std::filesystem::temp_directory_path (Error) / "qsm.XXXXXX").string ();
  if (!Error && mkdtemp (Name.data ()) == nullptr) {
    Error.assign (errno, std::generic_category ());
  }
  if (Error) {
    throw InputError (
        fmt::format ("TMPDIR: expected a directory to make one in: {}", Error.message ()));
  }
  Directory = Name;
}

TemporaryDirectory::~TemporaryDirectory ()
{
  std::error_code Ignored;
  if (!IsKept) {
    std::filesystem::remove_all (Directory, Ignored);
  }
}
