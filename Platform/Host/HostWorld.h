/// The host as the world of the stand-in firmware: guarded memory, a recording BMC and a log.
#pragma once

#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "BlockArena.h"
#include "FirmwareWorld.h"

/// Somebody broke a rule of the platform.
struct PlatformFault : std::logic_error {
  using std::logic_error::logic_error;
};

/// One message or assertion of a driver; fields as in DebugEntry.
struct DebugLine {
  DebugEntryKind Kind;
  UINTN Processor;
  std::string ModuleName;
  std::string Text; ///< As a reader sees it, the line end included.
  UINTN Level = 0;
  std::string Format;
  std::string FileName;
  UINTN LineNumber = 0;
  std::string Description;
};

/// One command that reached the BMC.
struct BmcRequest {
  UINTN Processor; ///< Which sent it.
  UINT8 NetFunction;
  UINT8 Lun;
  UINT8 Command;
  std::vector<UINT8> Data;
};

/// What the BMC answers. A test changes it while no driver runs.
struct BmcAnswer {
  EFI_STATUS Status = EFI_SUCCESS;      ///< What the transport returns.
  std::vector<UINT8> Response = {0x00}; ///< The completion code and what follows it.
};

class HostWorld {
public:
  explicit HostWorld (UINTN NumberOfProcessors);

  /// The table for FirmwareReset; valid while this object lives.
  FirmwareWorld Table ();

  /// Copies of what has been recorded since the start, or since Forget; any thread may ask.
  std::vector<DebugLine> Log () const;
  std::vector<BmcRequest> Requests () const;

  /// Drops all records.
  void Forget ();

  BmcAnswer Bmc;

private:
  UINTN NumberOfProcessors;
  BlockArena Arenas[PoolKindCount];
  mutable std::mutex Lock; ///< Of the two lists.
  std::vector<DebugLine> Lines;
  std::vector<BmcRequest> Sent;

  void Record (const DebugEntry &Entry);
  EFI_STATUS Answer (const IpmiRequest &Request, UINT8 *Response, UINT8 &ResponseSize);
};
