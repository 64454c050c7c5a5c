/// A directory of one's own.
#pragma once

#include <filesystem>

/// Readable for its owner only. Goes away with the object, and all that is in it, unless it is
/// kept.
class TemporaryDirectory {
public:
  /// Makes it where TMPDIR says, or in /tmp. Throws InputError if that cannot be.
  TemporaryDirectory ();
  ~TemporaryDirectory ();
  TemporaryDirectory (const TemporaryDirectory &) = delete;
  TemporaryDirectory &operator= (const TemporaryDirectory &) = delete;

  [[nodiscard]] const std::filesystem::path &
  Path () const
  {
    return Directory;
  }

  void
  Keep ()
  {
    IsKept = true;
  }

private:
  std::filesystem::path Directory;
  bool IsKept = false;
};
