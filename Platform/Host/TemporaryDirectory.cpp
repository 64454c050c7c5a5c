#include "TemporaryDirectory.h"

#include <cerrno>
#include <system_error>

#include <stdlib.h>

TemporaryDirectory::TemporaryDirectory ()
{
  std::string Name = (std::filesystem::temp_directory_path () / "qsm.XXXXXX").string ();
  if (mkdtemp (Name.data ()) == nullptr) {
    throw std::system_error (errno, std::generic_category (), Name);
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
