#include "SimulatedPlatform.h"

#include <algorithm>
#include <cstring>

#include "BootServices.h"
#include "ExecutingProcessor.h"
#include "Firmware.h"
#include "HandOffRecords.h"
#include "HobList.h"
#include "Record/RasLevelMask.h"

namespace {

constexpr std::size_t PageSize = 4096;
constexpr std::size_t StatusCodeDataSizeMax = 0xFFFF;

/// Whether a platform exists: the firmware has one state.
bool PlatformExists = false;

ProcessorPlace
PlaceOf (const SimulatedProcessor &Processor, UINT32 ApicId)
{
  const auto TopologyEax = [&] (UINT32 SubLeaf) {
    const auto Found = Processor.CpuidAnswers.find ({TopologyLeaf, SubLeaf});
    return Found == Processor.CpuidAnswers.end () ? 0 : Found->second.Eax;
  };
  return PlaceOfApicId (ApicId, TopologyEax (0), TopologyEax (1));
}

/// A record with its header, as the listener is handed it.
std::unique_ptr<UINT8[]>
StatusCodeData (std::span<const UINT8> Record, RecordPlacement Placement)
{
  const EFI_STATUS_CODE_DATA Header = {
      .HeaderSize = sizeof Header,
      .Size = static_cast<UINT16> (std::min (Record.size (), StatusCodeDataSizeMax)),
      .Type = gEfiStatusCodeSpecificDataGuid};
  const std::size_t Used = sizeof Header + Record.size ();
  const UINTN Size =
      Placement == RecordPlacement::ZeroFilledPage ? std::max (Used, PageSize) : Used;
  auto Data = std::make_unique<UINT8[]> (Size);
  std::memcpy (Data.get (), &Header, sizeof Header);
  std::copy (Record.begin (), Record.end (), Data.get () + sizeof Header);
  return Data;
}

/// Where a processor stands that has not come back.
std::string
StoppingPlace (const std::vector<DebugLine> &Log)
{
  const auto Last = std::find_if (Log.rbegin (), Log.rend (), [] (const DebugLine &Line) {
    return Line.Kind == DebugAssertion;
  });
  return Last == Log.rend ()
             ? "processor stopped without an assertion"
             : "processor stopped at " + Last->FileName + ":" + std::to_string (Last->LineNumber);
}

} // namespace

std::string
CallResult::Transcript () const
{
  std::string Text;
  for (const DebugLine &Line : Log) {
    Text += Line.Text;
  }
  return Text;
}

SimulatedPlatform::SimulatedPlatform (const PlatformDescription &Plan)
    : Description (Plan), Machine (Description), World (Machine.ProcessorCount ())
{
  if (PlatformExists) {
    throw std::logic_error ("there is a platform in this process already");
  }
  for (UINTN Index = 0; Index < Machine.ProcessorCount (); ++Index) {
    World.Processors[Index] =
        PlaceOf (Machine.Processor (Index), Description.Processors[Index].ApicId);
  }
  const FirmwareWorld Table = World.Table ();
  FirmwareReset (&Table);
  if (Description.Topology) {
    gTopology = *Description.Topology;
    HandOffRecordsFill ();
  }
  Machine.Pci.Populate (gTopology);
  for (const DescribedDevice &Device : Description.Devices) {
    SystemInventoryAdd (&Device, Device.Id ? Device.Id->c_str () : nullptr);
  }
  gInventory.DataReady = Description.InventoryReady ? TRUE : FALSE;
  for (const auto &[Offset, Byte] : Description.Cmos) {
    Machine.Cmos.Bytes[Offset] = Byte;
  }
  if (const auto &Levels = Description.LogLevelMask) {
    const RasLevelMask Mask = {.Levels = *Levels};
    HobListAddGuid (&gRasLevelMaskHobGuid, &Mask, sizeof Mask);
  }
  PlatformExists = true;
}

SimulatedPlatform::~SimulatedPlatform ()
{
  PlatformExists = false;
}

/// Runs Call as one processor and gathers what it did.
template <typename Callable>
CallResult
SimulatedPlatform::Run (UINTN Processor, Callable &&Call)
{
  const OnProcessor Acting (Processor);
  const HostWorld::Position Start = World.Now ();
  CallResult Result;
  bool Stopped = false;
  try {
    Result.Status = Call ();
  } catch (const ProcessorStopped &) {
    Stopped = true;
  }
  Result.Log = World.LogSince (Start, Processor);
  Result.Events = World.RequestsSince (Start, Processor);
  if (Stopped) {
    Result.Stopped = StoppingPlace (Result.Log);
  }
  return Result;
}

CallResult
SimulatedPlatform::LoadDriver (const std::filesystem::path &SharedObject)
{
  Drivers.push_back (std::make_unique<DriverInstance> (SharedObject, *DriverMachine));
  const DriverInstance &Driver = *Drivers.back ();
  const EFI_HANDLE Handle = FirmwareAddImage (Driver.ImageBase (), Driver.ImageSize ());
  return Run (0, [&] { return CallDriver (Driver.Entry (), Handle, &gSystemTable); });
}

CallResult
SimulatedPlatform::SignalReadyToLock ()
{
  return Run (0, [] {
    FirmwareSignalReadyToLock ();
    return EFI_SUCCESS;
  });
}

CallResult
SimulatedPlatform::Report (std::span<const UINT8> Record, const ReportOptions &Options)
{
  const auto Data = StatusCodeData (Record, Options.Placement);
  return ReportStatusCode (Options.CodeType, Options.Value,
                           reinterpret_cast<EFI_STATUS_CODE_DATA *> (Data.get ()),
                           Options.Processor);
}

CallResult
SimulatedPlatform::ReportStatusCode (EFI_STATUS_CODE_TYPE CodeType,
                                     EFI_STATUS_CODE_VALUE Value,
                                     EFI_STATUS_CODE_DATA *Data,
                                     UINTN Processor)
{
  return Run (Processor,
              [&] { return FirmwareReportStatusCode (CodeType, Value, 0, nullptr, Data); });
}
