#include "Failures.h"

#include <algorithm>
#include <limits>

#include "BmcAnswers.h"
#include "InputFile.h"
#include "Pool.h"
#include "ProtocolDatabase.h"
#include "SystemInventory.h"
#include "ToolOptions.h"

namespace {

constexpr Named<InventoryState> InventoryStates[] = {
    {"described", InventoryState::AsDescribed},
    {"not-ready", InventoryState::NotReady},
    {"late", InventoryState::Late},
};

/// Takes all that the SMM pool has, in ever smaller blocks.
void
ExhaustPool ()
{
  UINTN Size = gWorld.Pools[PoolSmm].Size;
  while (Size != 0) {
    VOID *Block = nullptr;
    if (EFI_ERROR (PoolAllocate (PoolSmm, EfiRuntimeServicesData, Size, &Block))) {
      Size /= 2;
    }
  }
}

} // namespace

void
FailurePlan::PlayAtBoot (SimulatedPlatform &Platform) const
{
  if (Bmc) {
    Platform.World.Bmc = *Bmc;
  }
  if (Inventory == InventoryState::NotReady) {
    gInventory.DataReady = FALSE;
  } else if (Inventory == InventoryState::Late) {
    ProtocolRemove (ProtocolSmm, &gOrvSmmSystemInventoryInfoProtocolGuid);
  }
}

void
FailurePlan::PlayAtReports () const
{
  if (PoolExhausted) {
    ExhaustPool ();
  }
}

FailurePlan
ReadFailurePlan (const FailureArguments &Arguments)
{
  FailurePlan Plan = {.Bmc = {},
                      .Inventory = NamedOption<InventoryState> ("--inventory", Arguments.Inventory,
                                                                InventoryStates),
                      .PoolExhausted = Arguments.PoolExhausted};
  if (Arguments.BmcAnswer) {
    Plan.Bmc = BmcAnswerOption ("--bmc-answer", *Arguments.BmcAnswer);
  }
  return Plan;
}

void
ReadStatusCode (const FailureArguments &Arguments, ReportOptions &Options)
{
  if (!Arguments.StatusCode) {
    return;
  }
  const std::string &Text = *Arguments.StatusCode;
  const std::size_t Sign = std::min (Text.find (':'), Text.size ());
  const auto Type = ParseNumber (Text.substr (0, Sign));
  const auto Value = ParseNumber (Text.substr (std::min (Sign + 1, Text.size ())));
  constexpr UINT64 Max = std::numeric_limits<UINT32>::max ();
  if (!Type || !Value || *Type > Max || *Value > Max) {
    RefuseOption ("--status-code", "TYPE:VALUE, numbers of 32 bits", Text);
  }
  Options.CodeType = static_cast<EFI_STATUS_CODE_TYPE> (*Type);
  Options.Value = static_cast<EFI_STATUS_CODE_VALUE> (*Value);
}
