#include "InputFiles.h"

#include <algorithm>

#include <fmt/format.h>

#include "Commands.h"
#include "InputFile.h"

namespace {

namespace fs = std::filesystem;

} // namespace

InputFiles::InputFiles (const std::vector<std::string> &Arguments)
{
  for (auto Argument = Arguments.rbegin (); Argument != Arguments.rend (); ++Argument) {
    Stack.push_back ({*Argument, true});
  }
}

void
InputFiles::PushDirectory (const fs::path &Path)
{
  std::vector<fs::path> Names;
  std::error_code Error;
  for (fs::directory_iterator Entry (Path, Error), End; !Error && Entry != End;
       Entry.increment (Error)) {
    std::error_code Ignored;
    const bool IsLink = Entry->is_symlink (Ignored);
    const bool IsDirectory = !IsLink && Entry->is_directory (Ignored);
    const bool IsDangling =
        !Entry->exists (Ignored) && Entry->path ().extension () == RECORD_SUFFIX;
    if (Entry->is_regular_file (Ignored) || IsDirectory || IsDangling) {
      Names.push_back (Entry->path ());
    }
  }
  if (Error) {
    throw InputError (
        fmt::format ("{}: expected a readable directory: {}", Path.string (), Error.message ()));
  }
  std::ranges::sort (Names, std::greater ());
  for (fs::path &Name : Names) {
    Stack.push_back ({std::move (Name), false});
  }
}

std::optional<InputFiles::File>
InputFiles::Next ()
{
  while (!Stack.empty ()) {
    const Waiting Last = std::move (Stack.back ());
    Stack.pop_back ();
    std::error_code Error;
    if (!fs::is_directory (Last.Path, Error)) {
      return File{Last.Path, Last.IsArgument || Last.Path.extension () == RECORD_SUFFIX};
    }
    PushDirectory (Last.Path);
  }
  return std::nullopt;
}
