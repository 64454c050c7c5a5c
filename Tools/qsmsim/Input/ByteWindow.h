/// Bytes that come piece by piece, with a look ahead.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "Base.h"
#include "FileDescriptor.h"

/// Where bytes come from: a file, a pipe, or a text that is decoded on the way.
class ByteSource {
public:
  virtual ~ByteSource () = default;

  /// Appends the next bytes to Bytes, as many as are there at once. Returns false at the end, when
  /// it has appended none. Throws InputError when there should be more and they cannot be had.
  virtual bool ReadMore (std::string &Bytes) = 0;
};

/// An open file, pipe or terminal.
class FileBytes : public ByteSource {
public:
  /// What comes of the bytes goes to Tied, which is flushed before more of them are read.
  FileBytes (FileDescriptor &&Open, std::ostream &Tied)
      : Descriptor (std::move (Open)), Output (Tied)
  {
  }
  bool ReadMore (std::string &Bytes) override;

private:
  FileDescriptor Descriptor;
  std::ostream &Output;
};

/// The part of a source that has been read and not been taken yet. It grows only as far as somebody
/// looks ahead, whatever the length of the source.
class ByteWindow {
public:
  explicit ByteWindow (std::unique_ptr<ByteSource> From) : Source (std::move (From)) {}

  /// A window over bytes that are there already.
  explicit ByteWindow (std::string Whole) : Bytes (std::move (Whole)) {}

  /// All that has been read and not been taken: at least Size bytes unless the source ends before.
  /// Valid up to the next call.
  std::string_view Ahead (std::size_t Size);

  /// Goes on behind the next Size bytes, which have been looked at.
  void Take (std::size_t Size);

  /// Number of bytes that have been taken.
  [[nodiscard]] UINT64
  Offset () const
  {
    return Taken;
  }

private:
  std::unique_ptr<ByteSource> Source; ///< Null at its end.
  std::string Bytes;
  std::size_t Start = 0; ///< Of what has not been taken, in Bytes.
  UINT64 Taken = 0;
};
