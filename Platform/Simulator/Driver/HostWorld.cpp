#include "HostWorld.h"

#include <algorithm>
#include <iterator>

#include "ExecutingProcessor.h"
#include "SimulatedPci.h"

namespace {

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
  std::vector<Element> Found;
  std::copy_if (List.begin () + static_cast<std::ptrdiff_t> (Start), List.end (),
                std::back_inserter (Found),
                [&] (const Element &Each) { return Each.Processor == Processor; });
  return Found;
}

} // namespace

HostWorld::HostWorld (UINTN NumberOfProcessors)
    : Arenas{BlockArena (SmmPoolSize), BlockArena (BootPoolSize)}
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
      .SmramStart = reinterpret_cast<UINTN> (Arenas[PoolSmm].Begin ()),
      .SmramSize = Arenas[PoolSmm].Size (),
      .CoreStart = CoreStart,
      .CoreSize = CoreSize,
      .SmramOffset = SmramOffset,
      .PciExpressBase = SimulatedPciBase,
      .PciSegmentCount = SimulatedPciSegmentCount,
      .TakeBlock = [] (void *Context, PoolKind Kind, UINTN Size) -> void * {
        return WorldOf (Context).Arenas[Kind].Take (Size);
      },
      .ReturnBlock = [] (void *Context, PoolKind Kind, void *Block,
                         UINTN Size) { WorldOf (Context).Arenas[Kind].Return (Block, Size); },
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

void
HostWorld::SealPools ()
{
  for (BlockArena &Each : Arenas) {
    Each.Seal ();
  }
}

void
HostWorld::Record (const DebugEntry &Entry)
{
  const std::lock_guard Guard (Lock);
  Log.push_back ({.Kind = Entry.Kind,
                  .Processor = Entry.Processor,
                  .ModuleName = TextOf (Entry.ModuleName),
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
                       .Data = {Request.Data, Request.Data + Request.DataSize}});
  const auto Size = std::min<std::size_t> (Bmc.Response.size (), ResponseSize);
  std::copy_n (Bmc.Response.begin (), Size, Response);
  ResponseSize = static_cast<UINT8> (Size);
  return Bmc.Status;
}
