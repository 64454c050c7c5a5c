#include "HostWorld.h"

#include <algorithm>
#include <iterator>
#include <new>

#include <sanitizer/asan_interface.h>

#include "ExecutingProcessor.h"
#include "SimulatedPci.h"

namespace {

constexpr UINTN PageSize = 4096;
constexpr UINTN SmmPoolSize = 8 * 1024 * 1024;
constexpr UINTN BootPoolSize = 4 * 1024 * 1024;

constexpr UINT64 CoreStart = 0x30000;
constexpr UINT64 CoreSize = 0x10000;

/// The chipset's addresses are not the processor's: no driver may mix them up.
constexpr UINT64 SmramOffset = 0x100000000000;

HostWorld &
WorldOf (void *Context)
{
  return *static_cast<HostWorld *> (Context);
}

std::string
TextOf (const CHAR8 *Text)
{
  return Text != nullptr ? Text : "";
}

template <typename Element>
std::vector<Element>
OfProcessor (const std::vector<Element> &List, std::size_t Start, UINTN Processor)
{
  const auto IsWanted = [&] (const Element &Each) { return Each.Processor == Processor; };
  const auto First = List.begin () + static_cast<std::ptrdiff_t> (Start);
  std::vector<Element> Found;
  Found.reserve (static_cast<std::size_t> (std::count_if (First, List.end (), IsWanted)));
  std::copy_if (First, List.end (), std::back_inserter (Found), IsWanted);
  return Found;
}

} // namespace

/// A heap block, for then AddressSanitizer can tell what lies at an address in it.
HostWorld::GuardedPages::GuardedPages (UINTN Bytes)
    : Memory{.Start = static_cast<UINT8 *> (::operator new (Bytes, std::align_val_t{PageSize})),
             .Size = Bytes}
{
  ASAN_POISON_MEMORY_REGION (Memory.Start, Memory.Size);
}

HostWorld::GuardedPages::~GuardedPages ()
{
  ASAN_UNPOISON_MEMORY_REGION (Memory.Start, Memory.Size);
  ::operator delete (Memory.Start, std::align_val_t{PageSize});
}

HostWorld::HostWorld (UINTN NumberOfProcessors)
    : Pools{GuardedPages (SmmPoolSize), GuardedPages (BootPoolSize)}
{
  for (UINT32 Index = 0; Index < NumberOfProcessors; ++Index) {
    Processors.push_back ({.ProcessorId = Index, .Package = Index, .Core = 0, .Thread = 0});
  }
}

FirmwareWorld
HostWorld::Table ()
{
  return {
      .Context = this,
      .NumberOfProcessors = Processors.size (),
      .Pools = {Pools[PoolSmm].Memory, Pools[PoolBoot].Memory},
      .CoreStart = CoreStart,
      .CoreSize = CoreSize,
      .SmramOffset = SmramOffset,
      .PciExpressBase = SimulatedPciBase,
      .PciSegmentCount = SimulatedPciSegmentCount,
      .OpenBlock = [] (void *, UINT8 *Block,
                       UINTN Size) { ASAN_UNPOISON_MEMORY_REGION (Block, Size); },
      .CloseBlock = [] (void *, UINT8 *Block, UINTN Size) -> bool {
        ASAN_POISON_MEMORY_REGION (Block, Size);
        return true;
      },
      .DebugOutput = [] (void *Context,
                         const DebugEntry *Entry) { WorldOf (Context).Record (*Entry); },
      .SendToBmc = [] (void *Context, const IpmiRequest *Request, UINT8 *Response,
                       UINT8 *ResponseSize) -> EFI_STATUS {
        return WorldOf (Context).Answer (*Request, Response, *ResponseSize);
      },
      .ExecutingProcessor = [] (void *) -> UINTN { return ::ExecutingProcessor (); },
      .PlaceOfProcessor = [] (void *Context, UINTN Index) -> ProcessorPlace {
        return WorldOf (Context).Processors.at (Index);
      },
      .Fault = [] (void *, const CHAR8 *Text) { throw PlatformFault (Text); },
  };
}

HostWorld::Position
HostWorld::Now ()
{
  const std::lock_guard Guard (Lock);
  return {Log.size (), Requests.size ()};
}

std::vector<DebugLine>
HostWorld::LogSince (const Position &Start, UINTN Processor)
{
  const std::lock_guard Guard (Lock);
  return OfProcessor (Log, Start.Log, Processor);
}

std::vector<BmcRequest>
HostWorld::RequestsSince (const Position &Start, UINTN Processor)
{
  const std::lock_guard Guard (Lock);
  return OfProcessor (Requests, Start.Requests, Processor);
}

void
HostWorld::Forget ()
{
  Log.clear ();
  Requests.clear ();
}

/// The name for good: the same few come with every line.
std::string_view
HostWorld::NameOf (const CHAR8 *ModuleName)
{
  const std::string_view Name = ModuleName != nullptr ? ModuleName : "";
  const auto Found = ModuleNames.find (Name);
  return Found != ModuleNames.end () ? *Found : *ModuleNames.emplace (Name).first;
}

void
HostWorld::Record (const DebugEntry &Entry)
{
  const std::lock_guard Guard (Lock);
  Log.push_back ({.Kind = Entry.Kind,
                  .Processor = Entry.Processor,
                  .ModuleName = NameOf (Entry.ModuleName),
                  .Text = TextOf (Entry.Text),
                  .Level = Entry.Level,
                  .FileName = TextOf (Entry.FileName),
                  .LineNumber = Entry.LineNumber,
                  .Description = TextOf (Entry.Description)});
}

EFI_STATUS
HostWorld::Answer (const IpmiRequest &Request, UINT8 *Response, UINT8 &ResponseSize)
{
  const std::lock_guard Guard (Lock);
  Requests.push_back ({.Processor = ::ExecutingProcessor (),
                       .NetFunction = Request.NetFunction,
                       .Lun = Request.Lun,
                       .Command = Request.Command,
                       .Data = {Request.Data, Request.Data + Request.DataSize},
                       .Status = Bmc.Status,
                       .CompletionCode = Bmc.Response.empty ()
                                             ? std::nullopt
                                             : std::optional (Bmc.Response.front ())});
  const auto Size = std::min<std::size_t> (Bmc.Response.size (), ResponseSize);
  std::copy_n (Bmc.Response.begin (), Size, Response);
  ResponseSize = static_cast<UINT8> (Size);
  return Bmc.Status;
}
