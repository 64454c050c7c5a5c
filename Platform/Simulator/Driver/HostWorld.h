/// The host as the world of the stand-in firmware: guarded memory, a recording BMC and a log.
#pragma once

#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "FirmwareWorld.h"

/// Somebody broke a rule of the platform.
struct PlatformFault : std::logic_error {
  using std::logic_error::logic_error;
};

/// One message or assertion of a driver; fields as in DebugEntry, and empty where that has null.
struct DebugLine {
  DebugEntryKind Kind;
  UINTN Processor;
  std::string_view ModuleName; ///< Stays the world's.
  std::string Text;            ///< What a reader sees, the line end included.

  UINTN Level;

  std::string FileName;
  UINTN LineNumber;
  std::string Description;
};

/// One command that was handed to the transport, and what came back.
struct BmcRequest {
  UINTN Processor; ///< Which sent it.
  UINT8 NetFunction;
  UINT8 Lun;
  UINT8 Command;
  std::vector<UINT8> Data;

  EFI_STATUS Status;                   ///< What the transport returned.
  std::optional<UINT8> CompletionCode; ///< None if the answer was empty.

  /// Whether the BMC has taken it.
  [[nodiscard]] bool
  IsTaken () const
  {
    return !EFI_ERROR (Status) && CompletionCode == 0;
  }
};

/// What the BMC answers. Change it while no driver runs.
struct BmcAnswer {
  EFI_STATUS Status = EFI_SUCCESS;      ///< What the transport returns.
  std::vector<UINT8> Response = {0x00}; ///< The completion code and what follows; may be empty.
};

class HostWorld {
public:
  /// Processors that stand each in a package of its own, with its index for an APIC id.
  explicit HostWorld (UINTN NumberOfProcessors);

  /// The table for FirmwareReset; valid while this object lives.
  FirmwareWorld Table ();

  /// What the drivers gave out, in order; read it while none runs.
  std::vector<DebugLine> Log;
  std::vector<BmcRequest> Requests;

  /// Number of log lines and of requests so far.
  struct Position {
    std::size_t Log;
    std::size_t Requests;
  };
  Position Now ();

  /// Copies what one processor gave out since Start, while others may run.
  std::vector<DebugLine> LogSince (const Position &Start, UINTN Processor);
  std::vector<BmcRequest> RequestsSince (const Position &Start, UINTN Processor);

  /// Drops what has been recorded so far; while no driver runs.
  void Forget ();

  BmcAnswer Bmc;

  /// Where each processor stands. Change it while no driver runs, and keep their number.
  std::vector<ProcessorPlace> Processors;

private:
  /// Memory of a pool. Under AddressSanitizer any access outside a live block ends the process.
  class GuardedPages {
  public:
    explicit GuardedPages (UINTN Bytes);
    ~GuardedPages ();
    GuardedPages (const GuardedPages &) = delete;
    GuardedPages &operator= (const GuardedPages &) = delete;

    PoolMemory Memory;
  };
  GuardedPages Pools[PoolKindCount];
  std::mutex Lock; ///< Of the two lists, and of the names.
  std::set<std::string, std::less<>> ModuleNames;

  std::string_view NameOf (const CHAR8 *ModuleName);
  void Record (const DebugEntry &Entry);
  EFI_STATUS Answer (const IpmiRequest &Request, UINT8 *Response, UINT8 &ResponseSize);
};
