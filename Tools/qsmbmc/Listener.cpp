#include "Listener.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <arpa/inet.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <netinet/in.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "InputFile.h"
#include "ToolOptions.h"

namespace {

constexpr std::string_view UNIX_PREFIX = "unix:";
constexpr std::string_view LOOPBACK_PREFIX = "127.0.0.1:";
constexpr int BACKLOG = 4;

FileDescriptor
OpenSocket (int Family)
{
  return FileDescriptor (socket (Family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

/// True for a socket on which nobody listens any more.
bool
IsLeftOver (const sockaddr_un &Address)
{
  struct stat Status = {};
  if (lstat (Address.sun_path, &Status) != 0 || !S_ISSOCK (Status.st_mode)) {
    return false;
  }
  const FileDescriptor Probe = OpenSocket (AF_UNIX);
  return connect (Probe.Get (), reinterpret_cast<const sockaddr *> (&Address), sizeof (Address)) !=
             0 &&
         errno == ECONNREFUSED;
}

template <typename AddressType>
int
Bind (const FileDescriptor &Socket, const AddressType &Address)
{
  return bind (Socket.Get (), reinterpret_cast<const sockaddr *> (&Address), sizeof (Address));
}

/// Binds a socket at its path and listens, and replaces what a dead process has left there. Of two
/// processes that try this at once, one finds the other listening.
bool
BindAndListen (const FileDescriptor &Socket, const sockaddr_un &Address)
{
  const auto Parent = std::filesystem::path (Address.sun_path).parent_path ();
  const FileDescriptor Directory (
      open (Parent.empty () ? "." : Parent.c_str (), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (Directory.IsOpen ()) {
    flock (Directory.Get (), LOCK_EX);
  }
  if (Bind (Socket, Address) != 0) {
    if (errno != EADDRINUSE) {
      return false;
    }
    if (!IsLeftOver (Address)) {
      errno = EADDRINUSE;
      return false;
    }
    unlink (Address.sun_path);
    if (Bind (Socket, Address) != 0) {
      return false;
    }
  }
  if (listen (Socket.Get (), BACKLOG) != 0) {
    const int Reason = errno;
    unlink (Address.sun_path);
    errno = Reason;
    return false;
  }
  return true;
}

[[noreturn]] void
RefuseToListen (const std::string &Address)
{
  throw InputError (fmt::format ("--listen: expected an address that is free, found \"{}\": {}",
                                 Address, std::strerror (errno)));
}

} // namespace

Listener::Listener (const std::string &Address) : Text (Address)
{
  if (Address.starts_with (UNIX_PREFIX)) {
    ListenUnix (Address.substr (UNIX_PREFIX.size ()));
  } else if (Address.starts_with (LOOPBACK_PREFIX)) {
    const std::string Port = Address.substr (LOOPBACK_PREFIX.size ());
    ListenLoopback (static_cast<UINT16> (NumberOption ("--listen", Port, 0, 0xFFFF)));
  } else {
    RefuseOption ("--listen", "unix:PATH or 127.0.0.1:PORT", Address);
  }
}

Listener::~Listener ()
{
  struct stat Found = {};
  if (!UnixPath.empty () && lstat (UnixPath.c_str (), &Found) == 0 &&
      Found.st_dev == UnixFile.st_dev && Found.st_ino == UnixFile.st_ino) {
    unlink (UnixPath.c_str ());
  }
}

void
Listener::ListenUnix (const std::string &Path)
{
  sockaddr_un Address = {.sun_family = AF_UNIX, .sun_path = {}};
  if (Path.empty () || Path.size () >= sizeof (Address.sun_path)) {
    RefuseOption ("--listen",
                  fmt::format ("a path of 1 to {} characters", sizeof (Address.sun_path) - 1),
                  Path);
  }
  Path.copy (Address.sun_path, Path.size ());
  Socket = OpenSocket (AF_UNIX);
  if (!BindAndListen (Socket, Address)) {
    RefuseToListen (Text);
  }
  UnixPath = Path;
  lstat (Path.c_str (), &UnixFile);
}

void
Listener::ListenLoopback (UINT16 Port)
{
  sockaddr_in Address = {};
  Address.sin_family = AF_INET;
  Address.sin_port = htons (Port);
  Address.sin_addr.s_addr = htonl (INADDR_LOOPBACK);
  Socket = OpenSocket (AF_INET);
  // A port that was in use a moment ago is free.
  const int Reuse = 1;
  setsockopt (Socket.Get (), SOL_SOCKET, SO_REUSEADDR, &Reuse, sizeof (Reuse));
  socklen_t Size = sizeof (Address);
  if (Bind (Socket, Address) != 0 || listen (Socket.Get (), BACKLOG) != 0 ||
      getsockname (Socket.Get (), reinterpret_cast<sockaddr *> (&Address), &Size) != 0) {
    RefuseToListen (Text);
  }
  Text = fmt::format ("{}{}", LOOPBACK_PREFIX, ntohs (Address.sin_port));
}
