/// The platform of the whole-driver tests, and how they read what came of a call.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "SimulatedPlatform.h"
#include "Transcript.h"

/// A platform of two sockets with one processor each, and the given devices.
PlatformDescription TwoSockets (std::vector<DescribedDevice> Devices);

/// The platform of Platform/Data/FourSocket.json, in the standard topology, which has more ports.
PlatformDescription FourSockets ();

/// Devices with the fields of their type.
DescribedDevice ProcessorDevice (std::optional<std::string> Id, UINT64 Socket);
DescribedDevice
MemoryDevice (std::optional<std::string> Id, UINT8 Socket, UINT8 Channel, UINT8 Dimm);
DescribedDevice PcieDevice (std::optional<std::string> Id, UINT8 Bus, UINT8 Device, UINT8 Function);

/// The events of a call: "NETFN LUN CMD: bytes" each, in hexadecimal, a line each.
std::string EventText (const CallResult &Result);

/// The store of shared buffers, in the order in which they were made: "NAME SIZE in SMM, locked"
/// each, or "outside" and "open", a line each.
std::string StoreText ();

/// Loads a driver while calls fail. Without its copy of the SMRAM map the driver gives its blocks
/// back to the boot services, which do not know them: this fault, and no other, counts as a stop.
CallResult LoadWithFailingCalls (SimulatedPlatform &Platform);

/// Whether the platform has a debug service. Without one all assertions return.
enum class DebugWorld {
  Present,
  Absent,
};

/// A platform before any driver is loaded.
class BootedPlatform : public SimulatedPlatform {
public:
  BootedPlatform (const PlatformDescription &Platform, DebugWorld Debug);
};

/// A platform of two sockets with a few devices, ports and stacks, on which the drivers' own lines
/// of the RAS log pass, and all that happens is recorded.
class RecordedPlatform : public BootedPlatform {
public:
  explicit RecordedPlatform (DebugWorld Debug);

  /// The calls of SimulatedPlatform, with their ends noted.
  CallResult Load ();
  void ReadyToLock ();
  void ReportError (const std::vector<UINT8> &Bytes, const ReportOptions &Options = {});

  Transcript Record;
};

/// A platform on which the driver has been loaded with success.
class LoadedPlatform : public SimulatedPlatform {
public:
  explicit LoadedPlatform (const PlatformDescription &Platform);
};
