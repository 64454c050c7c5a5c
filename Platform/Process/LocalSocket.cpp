#include "LocalSocket.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "MachineError.h"

namespace {

using Operation = int (int Socket, const sockaddr *Address, socklen_t Size);

FileDescriptor
OpenAt (const std::filesystem::path &Path, Operation *Open)
{
  sockaddr_un Address = {.sun_family = AF_UNIX, .sun_path = {}};
  FileDescriptor Socket (socket (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  errno = ENAMETOOLONG;
  if (Path.native ().size () >= sizeof (Address.sun_path) ||
      (Path.native ().copy (Address.sun_path, sizeof (Address.sun_path) - 1),
       Open (Socket.Get (), reinterpret_cast<const sockaddr *> (&Address), sizeof (Address))) !=
          0) {
    throw MachineError (fmt::format ("{}: no socket: {}", Path.string (), std::strerror (errno)));
  }
  return Socket;
}

} // namespace

FileDescriptor
ListenAt (const std::filesystem::path &Path)
{
  unlink (Path.c_str ());
  return OpenAt (Path, [] (int Socket, const sockaddr *Address, socklen_t Size) {
    return bind (Socket, Address, Size) == 0 ? listen (Socket, 1) : -1;
  });
}

FileDescriptor
ConnectTo (const std::filesystem::path &Path)
{
  return OpenAt (Path, connect);
}

std::pair<FileDescriptor, FileDescriptor>
ConnectedSockets ()
{
  std::array<int, 2> Ends = {};
  if (socketpair (AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, Ends.data ()) != 0) {
    throw MachineError (fmt::format ("no pair of sockets: {}", std::strerror (errno)));
  }
  return {FileDescriptor (Ends[0]), FileDescriptor (Ends[1])};
}
