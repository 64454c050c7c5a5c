/// The sockets of a platform description.
#pragma once

#include "DescriptionValue.h"
#include "TopologyRows.h"

/// Reads the list of the sockets. What it leaves open is as in the standard topology.
TopologyRows ReadTopology (const DescriptionValue &Sockets);
