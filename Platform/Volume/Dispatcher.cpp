#include "Dispatcher.h"

#include "Identity.h"

namespace {

constexpr UINT8 AlwaysHolds[] = {EFI_DEP_TRUE, EFI_DEP_END};

struct Dispatcher {
  const SmmModule *Modules;
  UINTN Count;
  const DispatchWorld &World;
  bool IsStarted[ModuleMax];
};

/// A module that waits for protocols, while those that are not there are told.
struct Waiting {
  const Dispatcher &From;
  const SmmModule &Module;
  bool IsTold;
};

VolumeFault
Evaluate (const SmmModule &Module, const ProtocolQuestion &Question, Dependency &Answer)
{
  return Module.Dependency.Bytes == nullptr
             ? EvaluateDependency (AlwaysHolds, sizeof AlwaysHolds, Question, Answer)
             : EvaluateDependency (Module.Dependency.Bytes, Module.Dependency.Size, Question,
                                   Answer);
}

/// What a module asks for now. Its expression has been found sound.
Dependency
DependencyOf (const Dispatcher &From, const SmmModule &Module)
{
  Dependency Answer;
  (void)Evaluate (Module, {From.World.Context, From.World.IsThere}, Answer);
  return Answer;
}

VOID StartThoseThatGo (Dispatcher &In, DependencyKind Side, const EFI_GUID &Module);

/// Starts a module, ahead of it those that want to go before it, and behind it those that want to
/// go after it, with whatever goes with them.
VOID
StartWithNeighbours (Dispatcher &In, UINTN Index)
{
  const SmmModule &Module = In.Modules[Index];
  In.IsStarted[Index] = true;
  StartThoseThatGo (In, DependsBefore, Module.Name);
  In.World.Start (In.World.Context, Module);
  StartThoseThatGo (In, DependsAfter, Module.Name);
}

VOID
StartThoseThatGo (Dispatcher &In, DependencyKind Side, const EFI_GUID &Module)
{
  for (UINTN Index = 0; Index < In.Count; ++Index) {
    if (In.IsStarted[Index]) {
      continue;
    }
    const Dependency Of = DependencyOf (In, In.Modules[Index]);
    if (Of.Kind == Side && IsSameGuid (Of.Module, Module)) {
      StartWithNeighbours (In, Index);
    }
  }
}

bool
StartFirstReady (Dispatcher &In)
{
  for (UINTN Index = 0; Index < In.Count; ++Index) {
    if (In.IsStarted[Index]) {
      continue;
    }
    const Dependency Of = DependencyOf (In, In.Modules[Index]);
    if (Of.Kind == DependsOnProtocols && Of.Holds) {
      StartWithNeighbours (In, Index);
      return true;
    }
  }
  return false;
}

VOID
TellWhatIsWaitedFor (const Dispatcher &In, const SmmModule &Module)
{
  Waiting Told = {.From = In, .Module = Module, .IsTold = false};
  const auto TellMissing = [] (VOID *Context, const EFI_GUID *Protocol) {
    auto *To = static_cast<Waiting *> (Context);
    const DispatchWorld &World = To->From.World;
    const bool IsThere = World.IsThere (World.Context, Protocol);
    if (!IsThere) {
      World.Waits (World.Context, To->Module, *Protocol);
      To->IsTold = true;
    }
    return IsThere;
  };
  Dependency Of;
  (void)Evaluate (Module, {&Told, TellMissing}, Of);
  // An expression without protocols that are missing has a zero GUID here.
  if (!Told.IsTold) {
    In.World.Waits (In.World.Context, Module, Of.Module);
  }
}

} // namespace

VolumeFault
DispatchModules (const SmmModule *Modules, UINTN Count, const DispatchWorld &World, UINTN &Refused)
{
  for (Refused = 0; Refused < Count; ++Refused) {
    Dependency Of;
    const VolumeFault Fault = Evaluate (Modules[Refused], {World.Context, World.IsThere}, Of);
    if (Fault.Text != nullptr) {
      return Fault;
    }
  }
  Dispatcher In = {.Modules = Modules, .Count = Count, .World = World, .IsStarted = {}};
  while (StartFirstReady (In)) {
  }
  for (UINTN Index = 0; Index < Count; ++Index) {
    if (!In.IsStarted[Index]) {
      TellWhatIsWaitedFor (In, Modules[Index]);
    }
  }
  return {};
}
