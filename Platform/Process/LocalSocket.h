/// UNIX sockets.
#pragma once

#include <filesystem>
#include <utility>

#include "FileDescriptor.h"

/// Listens at Path, where a socket of an earlier run may have been left. Throws MachineError.
FileDescriptor ListenAt (const std::filesystem::path &Path);

/// Connects to whoever listens at Path. Throws MachineError.
FileDescriptor ConnectTo (const std::filesystem::path &Path);

/// Two sockets that are connected with each other. Throws MachineError.
std::pair<FileDescriptor, FileDescriptor> ConnectedSockets ();
