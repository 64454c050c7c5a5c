/// What the sources of this module share.
#pragma once

#include "IioTopologyLib.h"
#include "Record/IioTopologyStore.h"

extern "C" {

/// The shared store; null until bound. It belongs to no driver and is never freed.
extern IioTopologyStore *mIioTopology;
}

/// The source file that all assertions of this module report.
inline constexpr CHAR8 IioTopologySourceFile[] =
    "ServerRasPkg/Library/IioTopologyLib/IioTopologyLibSpr";

/// Where a walk over the ports of a socket ends. The store is shared: another driver's build may
/// have left a MaxPort in it that is too large.
constexpr UINTN
PortBound (const IioTopologySocket &Socket)
{
  return Socket.MaxPort < IIO_PORT_MAX ? Socket.MaxPort : IIO_PORT_MAX;
}
