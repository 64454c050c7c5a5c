/// The files that arguments name.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Files by name or by a directory of theirs, one at a time.
class InputFiles {
public:
  /// "-" is standard input. A directory stands for its files and those of its directories, in the
  /// order of their names.
  explicit InputFiles (const std::vector<std::string> &Arguments);

  struct File {
    std::filesystem::path Path;
    bool IsChosen; ///< Named by the user, or named as records are: it must have one.
  };

  /// The next file, or none. Throws InputError for a directory that cannot be read; the next call
  /// goes on behind it.
  std::optional<File> Next ();

private:
  struct Waiting {
    std::filesystem::path Path;
    bool IsArgument;
  };
  std::vector<Waiting> Stack; ///< The next one last.

  void PushDirectory (const std::filesystem::path &Path);
};
