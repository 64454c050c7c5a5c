/// Where a machine can reach the BMC: on this computer only.
#pragma once

#include <string>

#include <sys/stat.h>

#include "Base.h"
#include "FileDescriptor.h"

/// A socket that listens. The file of a UNIX socket goes away with it.
class Listener {
public:
  /// Listens at "unix:PATH" or "127.0.0.1:PORT"; port 0 is any free one. Throws InputError for any
  /// other address, and for one that is not to be had. The socket that a dead process has left at
  /// PATH is replaced.
  explicit Listener (const std::string &Address);
  ~Listener ();
  Listener (const Listener &) = delete;
  Listener &operator= (const Listener &) = delete;

  [[nodiscard]] int
  Descriptor () const
  {
    return Socket.Get ();
  }

  /// The address, with the port that it has got.
  [[nodiscard]] const std::string &
  Address () const
  {
    return Text;
  }

private:
  void ListenUnix (const std::string &Path);
  void ListenLoopback (UINT16 Port);

  std::string Text;
  std::string UnixPath;      ///< Empty for TCP.
  struct stat UnixFile = {}; ///< What was made at UnixPath; another file there stays.
  FileDescriptor Socket;
};
