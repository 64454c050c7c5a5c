#include "Transcript.h"

#include <algorithm>
#include <dlfcn.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <utility>

#include "BootServices.h"
#include "CpuService.h"
#include "FaultPlan.h"
#include "GuidNames.h"
#include "IpmiTransport.h"
#include "PcdDatabase.h"
#include "PrintLib.h"
#include "Protocol/SmmBase2.h"
#include "Protocol/SmmRscHandler.h"
#include "ProtocolDatabase.h"
#include "SmmAccess.h"
#include "SmmServices.h"
#include "Uart16550.h"
#include "UnprovidedService.h"
#include "Usra.h"
#include "VariablePolicy.h"
#include "VariableStore.h"

namespace {

constexpr UINT16 SerialDataPort = 0x3F8;
constexpr char SerialIdle[] = "in 3FD = 60";
constexpr char SerialLine[] = "serial";

/// The services' functions get no context.
Transcript *gRecorder = nullptr;

std::string
StatusText (EFI_STATUS Status)
{
  CHAR8 Text[40];
  AsciiSPrint (Text, sizeof Text, "%r", Status);
  return Text;
}

/// The text between quotes, with escapes for line ends.
std::string
Quoted (const std::string &Text)
{
  std::string Result = "\"";
  for (const char Each : Text) {
    Result += Each == '\n' ? "\\n" : Each == '\r' ? "\\r" : std::string (1, Each);
  }
  return Result + '"';
}

/// What just leads to the platform says nothing to a reader.
std::string
NameUnlessPlain (const VOID *Address)
{
  const std::string Name = gRecorder->NameOf (Address);
  return Name == "platform" ? "" : Name;
}

/// An argument as the caller passes it; nothing for those that say nothing to a reader.
template <typename Type>
std::string
In (Type Value)
{
  if constexpr (std::is_same_v<Type, const EFI_GUID *>) {
    return GuidName (*Value);
  } else if constexpr (std::is_same_v<Type, const CHAR16 *>) {
    std::string Text;
    for (; *Value != 0; ++Value) {
      Text += static_cast<char> (*Value);
    }
    return Quoted (Text);
  } else if constexpr (std::is_same_v<Type, UINTN *> || std::is_same_v<Type, UINT8 *>) {
    return Value == nullptr ? "null" : std::to_string (*Value);
  } else if constexpr (std::is_same_v<Type, VOID *> || std::is_same_v<Type, const VOID *>) {
    return NameUnlessPlain (Value);
  } else if constexpr (!std::is_pointer_v<Type>) {
    return std::to_string (Value);
  } else if constexpr (std::is_function_v<std::remove_pointer_t<Type>>) {
    return gRecorder->NameOf (reinterpret_cast<const void *> (Value));
  } else {
    return Value == nullptr ? "null" : "";
  }
}

/// What a successful call has stored through an argument.
template <typename Type>
std::string
Out (Type Value)
{
  if constexpr (std::is_same_v<Type, UINTN *> || std::is_same_v<Type, UINT8 *>) {
    return std::to_string (*Value);
  } else if constexpr (std::is_same_v<Type, VOID **>) {
    return NameUnlessPlain (*Value);
  } else {
    return "";
  }
}

/// The arguments that a rule of a service picks, as a list.
template <typename... Parts>
std::string
List (const Parts &...Each)
{
  std::vector<std::string> All = {Each...};
  std::erase (All, "");
  return fmt::format ("{}", fmt::join (All, ", "));
}

/// What else a service shows of its arguments: ahead of the call, and behind it.
struct NoDetail {
  static std::string
  Before (auto...)
  {
    return "";
  }

  static std::string
  After (auto...)
  {
    return "";
  }
};

struct AllocateDetail : NoDetail {
  static std::string
  After (EFI_MEMORY_TYPE, UINTN Size, VOID **Buffer)
  {
    gRecorder->NoteBlock (*Buffer, Size);
    return "";
  }
};

struct FreeDetail : NoDetail {
  static std::string
  After (VOID *Buffer)
  {
    gRecorder->ForgetBlock (Buffer);
    return "";
  }
};

struct SetVariableDetail : NoDetail {
  static std::string
  Before (const CHAR16 *, const EFI_GUID *, UINT32, UINTN, const VOID *Data)
  {
    return gRecorder->NameOf (*static_cast<VOID *const *> (Data));
  }
};

struct GetVariableDetail : NoDetail {
  static std::string
  After (const CHAR16 *, const EFI_GUID *, UINT32 *, UINTN *, VOID *Data)
  {
    return gRecorder->NameOf (*static_cast<VOID *const *> (Data));
  }
};

struct PolicyDetail : NoDetail {
  static std::string
  Before (const VARIABLE_POLICY_ENTRY *Entry)
  {
    return List (In (reinterpret_cast<const CHAR16 *> (Entry + 1)), In (+Entry->LockPolicyType));
  }
};

struct UsraDetail : NoDetail {
  static std::string
  Before (const UsraPcieAddress *Address)
  {
    return fmt::format ("{}:{:X}", +Address->Segment, +Address->Location);
  }
};

struct IpmiDetail : NoDetail {
  static std::string
  Before (SmmIpmiTransportProtocol *, UINT8, UINT8, UINT8, const UINT8 *Data, UINT8 Size, auto...)
  {
    return fmt::format ("{:02X}", fmt::join (Data, Data + Size, " "));
  }
};

/// One service, recorded.
template <ServiceName Name, typename Detail, typename Result, typename... Parameters>
struct Service {
  static inline Result (EFIAPI *Original) (Parameters...) = nullptr;

  static Result EFIAPI
  Call (Parameters... Values)
  {
    const std::string Arguments = List (In (Values)..., Detail::Before (Values...));
    const Result Answer = Original (Values...);
    std::string Text;
    if constexpr (std::is_same_v<Result, VOID *>) {
      Text = fmt::format ("{:X}", reinterpret_cast<UINTN> (Answer));
    } else if (std::string_view (Name.Text) == "Get64") {
      Text = fmt::format ("{:X}", Answer);
    } else {
      Text = StatusText (Answer);
      if (!EFI_ERROR (Answer)) {
        const std::string More = Detail::After (Values...);
        Text = List (Text, Out (Values)..., More);
      }
    }
    gRecorder->Note (fmt::format ("{} ({}) = {}", Name.Text, Arguments, Text));
    return Answer;
  }
};

template <ServiceName Name, typename Detail = NoDetail, typename Result, typename... Parameters>
void
Record (Result (EFIAPI *&Entry) (Parameters...))
{
  using Recorded = Service<Name, Detail, Result, Parameters...>;
  Recorded::Original = Entry;
  gRecorder->Replace (Entry, &Recorded::Call);
}

/// The interface of a protocol that the platform brings.
template <typename Interface>
Interface &
Located (ProtocolSpace Space, const EFI_GUID &Protocol)
{
  VOID *Found = nullptr;
  (void)ProtocolLocate (Space, &Protocol, &Found);
  return *static_cast<Interface *> (Found);
}

VOID (*mDebugOutput) (VOID *Context, const DebugEntry *Entry) = nullptr;

VOID
RecordDebugOutput (VOID *Context, const DebugEntry *Entry)
{
  const std::string Name = Entry->ModuleName != nullptr ? Entry->ModuleName : "no name";
  const std::string From = Name == "VelmoraQsmErrorHandler" ? "" : " from " + Name;
  if (Entry->Kind == DebugAssertion) {
    gRecorder->Note (fmt::format ("assert{} {}:{} {}", From, Entry->FileName, Entry->LineNumber,
                                  Entry->Description));
  } else {
    const std::string Format = Quoted (Entry->Format);
    const std::string Text = Quoted (Entry->Text);
    gRecorder->Note (fmt::format ("debug{} {:X} {}{}", From, Entry->Level, Format,
                                  Format == Text ? "" : " = " + Text));
  }
  mDebugOutput (Context, Entry);
}

/// Makes all services that a driver may call lead through the recorder.
void
RecordServices ()
{
  EFI_BOOT_SERVICES &Boot = *gSystemTable.BootServices;
  Record<"AllocatePool", AllocateDetail> (Boot.AllocatePool);
  Record<"FreePool", FreeDetail> (Boot.FreePool);
  Record<"HandleProtocol"> (Boot.HandleProtocol);
  Record<"LocateProtocol"> (Boot.LocateProtocol);
  Record<"SmmAllocatePool", AllocateDetail> (gSmmSystemTable.SmmAllocatePool);
  Record<"SmmFreePool", FreeDetail> (gSmmSystemTable.SmmFreePool);
  Record<"SmmInstallProtocolInterface"> (gSmmSystemTable.SmmInstallProtocolInterface);
  Record<"SmmRegisterProtocolNotify"> (gSmmSystemTable.SmmRegisterProtocolNotify);
  Record<"SmmLocateProtocol"> (gSmmSystemTable.SmmLocateProtocol);
  Record<"GetSmstLocation"> (
      Located<EFI_SMM_BASE2_PROTOCOL> (ProtocolBoot, gEfiSmmBase2ProtocolGuid).GetSmstLocation);
  auto &Router = Located<EFI_SMM_RSC_HANDLER_PROTOCOL> (ProtocolSmm, gEfiSmmRscHandlerProtocolGuid);
  Record<"Register"> (Router.Register);
  Record<"Unregister"> (Router.Unregister);
  Record<"SendIpmiCommand", IpmiDetail> (gIpmiTransport.SendIpmiCommand);
  Record<"SmmGetVariable", GetVariableDetail> (gSmmVariable.SmmGetVariable);
  Record<"SmmSetVariable", SetVariableDetail> (gSmmVariable.SmmSetVariable);
  Record<"RegisterVariablePolicy", PolicyDetail> (gVariablePolicy.RegisterVariablePolicy);
  Record<"WhoAmI"> (gCpuService.WhoAmI);
  Record<"GetProcessorInfo"> (gCpuService.GetProcessorInfo);
  Record<"GetCapabilities"> (gSmmAccess.GetCapabilities);
  Record<"Get64"> (gPcd.Get64);
  Record<"UsraGetAddress", UsraDetail> (gUsra.UsraGetAddress);
  mDebugOutput = gWorld.DebugOutput;
  gRecorder->Replace (gWorld.DebugOutput, RecordDebugOutput);
  FaultPlanReset (); // Forgets the recorder's own calls.
}

/// Folds runs of up to three lines that come again and again.
std::vector<std::string>
Folded (const std::vector<std::string> &Lines)
{
  std::vector<std::string> Result;
  for (std::size_t Place = 0; Place < Lines.size ();) {
    std::size_t Period = 1;
    std::size_t Times = 1;
    for (std::size_t Each = 1; Each <= 3 && Times == 1; ++Each) {
      std::size_t End = Place + Each;
      while (End < Lines.size () && Lines[End] == Lines[End - Each]) {
        ++End;
      }
      if ((End - Place) / Each > 1) {
        Period = Each;
        Times = (End - Place) / Each;
      }
    }
    if (Period > 1) {
      Result.push_back (fmt::format ("{} times:", Times));
    }
    for (std::size_t Each = 0; Each < Period; ++Each) {
      Result.push_back ((Period > 1 ? "  " : "") + Lines[Place + Each]);
    }
    if (Period == 1 && Times > 1) {
      Result.back () += fmt::format ("  x {}", Times);
    }
    Place += Period * Times;
  }
  return Result;
}

} // namespace

Transcript::Transcript (SimulatedPlatform &Watched) : Platform (Watched)
{
  gRecorder = this;
  Replace<HostMachine *> (Platform.DriverMachine, this);
  RecordServices ();
}

Transcript::~Transcript ()
{
  for (auto Each = Undo.rbegin (); Each != Undo.rend (); ++Each) {
    (*Each) ();
  }
  gRecorder = nullptr;
}

void
Transcript::Note (std::string Line)
{
  if (Silent) {
    return;
  }
  for (const auto &[Text, Name] : Names) {
    if (const auto Place = Line.find (Text); Place != std::string::npos) {
      Line.replace (Place, Text.size (), Name);
    }
  }
  Lines.push_back (std::move (Line));
}

void
Transcript::Note (const CallResult &Result)
{
  Note (Result.Stopped.empty () ? "ends: " + StatusText (Result.Status) : Result.Stopped);
}

std::vector<std::string>
Transcript::Take ()
{
  return Folded (std::exchange (Lines, {}));
}

std::string
Transcript::NameOf (const void *Address) const
{
  if (Address == nullptr) {
    return "null";
  }
  const auto *Place = static_cast<const UINT8 *> (Address);
  auto Block = Blocks.upper_bound (Place);
  if (Block != Blocks.begin () && Place < (--Block)->first + Block->second.Size) {
    return Block->second.Name +
           (Place == Block->first ? "" : "+" + std::to_string (Place - Block->first));
  }
  Dl_info Info = {};
  for (std::size_t Index = 0; Index < Platform.Drivers.size (); ++Index) {
    if (dladdr (Address, &Info) != 0 && Info.dli_fbase == Platform.Drivers[Index]->ImageBase ()) {
      return fmt::format ("driver {} {}", Index + 1,
                          Info.dli_sname == nullptr ? "" : Info.dli_sname);
    }
  }
  return "platform";
}

void
Transcript::NoteBlock (const void *Address, UINTN Size)
{
  const auto Same = std::count_if (Blocks.begin (), Blocks.end (),
                                   [&] (const auto &Each) { return Each.second.Size == Size; });
  const std::string Which = Same == 0 ? "" : fmt::format (" #{}", Same + 1);
  Blocks[static_cast<const UINT8 *> (Address)] = {Size, fmt::format ("block {}{}", Size, Which)};
}

void
Transcript::ForgetBlock (const void *Address)
{
  Blocks.erase (static_cast<const UINT8 *> (Address));
}

CpuidRegisters
Transcript::Cpuid (UINT32 Leaf, UINT32 SubLeaf)
{
  Note (fmt::format ("cpuid {:X}.{:X}", Leaf, SubLeaf));
  return Platform.Machine.Cpuid (Leaf, SubLeaf);
}

UINT64
Transcript::ReadMsr (UINT32 Index)
{
  const UINT64 Value = Platform.Machine.ReadMsr (Index);
  Note (fmt::format ("rdmsr {:X} = {:X}", Index, Value));
  return Value;
}

UINT64
Transcript::ReadTsc ()
{
  Note ("rdtsc");
  return Platform.Machine.ReadTsc ();
}

void
Transcript::Pause ()
{
  Note ("pause");
  Platform.Machine.Pause ();
}

UINT8
Transcript::IoRead8 (UINT16 Port)
{
  const UINT8 Value = Platform.Machine.IoRead8 (Port);
  Note (fmt::format ("in {:X} = {:02X}", Port, Value));
  return Value;
}

void
Transcript::IoWrite8 (UINT16 Port, UINT8 Value)
{
  const bool IsLatchOpen = (Platform.Machine.Uart.LineControl & UART_LCR_DIVISOR_LATCH) != 0;
  Platform.Machine.IoWrite8 (Port, Value);
  if (Port == SerialDataPort && !IsLatchOpen) {
    NoteSerial (Value);
  } else {
    Note (fmt::format ("out {:X} {:02X}", Port, Value));
  }
}

/// Appends a byte to the serial line, or begins a new one.
void
Transcript::NoteSerial (UINT8 Byte)
{
  bool Bar = false;
  if (!Lines.empty () && Lines.back () == SerialIdle) {
    Lines.pop_back ();
    Bar = true;
  }
  if (Silent) {
    return;
  }
  if (Lines.empty () || !Lines.back ().starts_with (SerialLine) ||
      Lines.back ().ends_with ("\\n\"")) {
    Note (SerialLine + std::string (" \""));
  } else {
    Lines.back ().pop_back ();
  }
  const std::string Text = Quoted (std::string (1, static_cast<char> (Byte)));
  Lines.back () += (Bar ? "|" : "") + Text.substr (1);
}

UINT32
Transcript::MmioRead (UINTN Address, UINTN Width)
{
  const UINT32 Value = Platform.Machine.MmioRead (Address, Width);
  Note (fmt::format ("mmio{} in {:X} = {:X}", 8 * Width, Address, Value));
  return Value;
}

void
Transcript::MmioWrite (UINTN Address, UINTN Width, UINT32 Value)
{
  Note (fmt::format ("mmio{} out {:X} {:X}", 8 * Width, Address, Value));
  Platform.Machine.MmioWrite (Address, Width, Value);
}
