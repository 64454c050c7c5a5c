/// A descriptor of the operating system that is closed with its owner.
#pragma once

#include <utility>

#include <unistd.h>

class FileDescriptor {
public:
  FileDescriptor () = default;

  /// Takes Descriptor over; -1 is none.
  explicit FileDescriptor (int Descriptor) : Number (Descriptor) {}

  FileDescriptor (FileDescriptor &&Other) noexcept : Number (std::exchange (Other.Number, -1)) {}

  FileDescriptor &
  operator= (FileDescriptor &&Other) noexcept
  {
    std::swap (Number, Other.Number);
    return *this;
  }

  ~FileDescriptor ()
  {
    Close ();
  }

  [[nodiscard]] int
  Get () const
  {
    return Number;
  }

  [[nodiscard]] bool
  IsOpen () const
  {
    return Number >= 0;
  }

  void
  Close ()
  {
    if (IsOpen ()) {
      close (std::exchange (Number, -1));
    }
  }

private:
  int Number = -1;
};
