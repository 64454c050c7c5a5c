#include "Boot.h"

#include <algorithm>

#include <fmt/format.h>

#include "InputFile.h"
#include "Options.h"
#include "ProductFile.h"
#include "StatusCodeRouter.h"
#include "ToolOptions.h"

namespace {

namespace fs = std::filesystem;

constexpr Named<BootStage> Stages[] = {
    {"loaded", BootStage::Loaded},
    {"locked", BootStage::Locked},
};

fs::path
DriverOption (const std::string &File)
{
  if (File.empty ()) {
    return ProductFile (BuiltDriver ());
  }
  std::error_code Error;
  if (!fs::is_regular_file (File, Error)) {
    throw InputError (fmt::format ("{}: expected a driver's shared object", File));
  }
  return File;
}

/// Makes one call into the platform, which judges how that ended. File is the record that it
/// reports, or null.
template <typename Callable>
Outcome
Try (SimulatedPlatform &Platform, const CperFile *File, Callable &&Call)
{
  Platform.World.Forget ();
  try {
    return Call ();
  } catch (const std::exception &Fault) {
    return JudgeFault (File, Fault.what (), Platform.World.Log);
  }
}

} // namespace

BootPlan
ReadBootPlan (const BootArguments &Arguments)
{
  BootPlan Plan = {.Platform = PlatformOption (Arguments.PlatformFile),
                   .Driver = DriverOption (Arguments.Driver),
                   .DriverCount = NumberOption ("--drivers", Arguments.DriverCount, 1, ListenerMax),
                   .Stage = NamedOption<BootStage> ("--stage", Arguments.Stage, Stages)};
  for (const std::string &Assignment : Arguments.Cmos) {
    const auto [Offset, Byte] = CmosOption ("--cmos", Assignment);
    Plan.Platform.Cmos[Offset] = Byte;
  }
  return Plan;
}

std::string
StageText (BootStage Stage)
{
  const auto *Found = std::ranges::find (Stages, Stage, &Named<BootStage>::Of);
  return Found->Name;
}

std::string
CountText (UINTN Count, const std::string &Singular)
{
  return fmt::format ("{} {}{}", Count, Singular, Count == 1 ? "" : "s");
}

Outcome
ReportRecord (SimulatedPlatform &Platform, const CperFile &File, const ReportOptions &Options)
{
  if (auto Reason = WhyNotReported (File, Options)) {
    Outcome Outcome;
    Outcome.File = &File;
    Outcome.Dropped = std::move (Reason);
    return Outcome;
  }
  return Try (Platform, &File, [&] {
    return JudgeReport ({File, Options, Platform}, Platform.Report (File.Bytes, Options));
  });
}

Outcome
Boot (SimulatedPlatform &Platform, const BootPlan &Plan)
{
  Outcome Last;
  for (UINTN Index = 0; Index < Plan.DriverCount && Last.Fault.empty (); ++Index) {
    Last = Try (Platform, nullptr, [&] { return JudgeStep (Platform.LoadDriver (Plan.Driver)); });
  }
  if (Last.Fault.empty () && Plan.Stage == BootStage::Locked) {
    Last = Try (Platform, nullptr, [&] { return JudgeStep (Platform.SignalReadyToLock ()); });
  }
  return Last;
}
