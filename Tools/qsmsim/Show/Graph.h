/// The platform as a graph: sockets with their memory and root buses, ports, and which device is
/// where.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "PlatformDescription.h"
#include "Record/IioTopologyStore.h"

/// Devices by their indices in the inventory.
using DeviceIndices = std::vector<UINTN>;

/// A root port with the buses of its bridge, and what is behind it, or is the port itself.
struct GraphPort {
  IioTopologyPort Port;
  DeviceIndices Devices;
};

/// A bus of a socket that has root ports, and other functions on it.
struct GraphBus {
  DeviceIndices Devices;
  std::vector<GraphPort> Ports;
};

struct GraphSocket {
  DeviceIndices Processors;
  std::map<UINT8, std::map<UINT8, DeviceIndices>> Memory; ///< By channel, then by DIMM.
  std::set<UINTN> Stacks, AnsweringCxl, SilentCxl;        ///< Those that are there.
  std::map<UINT8, GraphBus> Buses;
};

struct PlatformGraph {
  std::map<UINT64, GraphSocket> Sockets;
  DeviceIndices Unplaced; ///< PCIe devices to which no port leads, or ports of several sockets.
  DeviceIndices Others;   ///< Those that have no errors.
};

/// The topology that the drivers of the boot share; none if they have left none.
std::optional<IioTopologyStore> SharedTopology ();

/// Joins the inventory with the topology. The inventory knows no segments: a bus number that is
/// found in several sockets tells no place.
PlatformGraph BuildGraph (const PlatformDescription &Platform,
                          const std::optional<IioTopologyStore> &Topology);

/// The sockets that have a port on the bus, or one whose bridge leads to it.
std::vector<UINTN> SocketsOfBus (const IioTopologyStore &Topology, UINT8 Bus);

/// How often a device was blamed.
struct Blame {
  UINTN Warnings = 0, Criticals = 0;
};

/// What a picture of the graph says besides.
struct GraphLegend {
  std::string Caption;
  std::map<UINTN, Blame> Blames = {}; ///< By device.
  bool HidesEmptyPorts = false;       ///< Leaves out ports and buses without devices.
};

/// The graph in the language of Graphviz, for `dot`.
std::string GraphText (const PlatformDescription &Platform,
                       const PlatformGraph &Graph,
                       const GraphLegend &Legend);
