#include "ImageInstance.h"

#include <csetjmp>
#include <csignal>
#include <cstring>
#include <sys/mman.h>
#include <ucontext.h>

#include "HostMachine.h"
#include "ImageLoader.h"

namespace {

/// What a signal handler must find. One image runs at a time.
const ImageInstance *mRunning = nullptr;
std::string mWhyStopped;
sigjmp_buf mRunStart;
struct sigaction mPreviousActions[2];
constexpr int TrapSignals[2] = {SIGSEGV, SIGILL};

/// The registers of the processor that trapped, as 64 bits each.
using Registers = greg_t[NGREG];

UINT32
Low32 (greg_t Register)
{
  return static_cast<UINT32> (Register);
}

/// An instruction of the image that does not execute in a process: its bytes, and what it does.
struct PlayedInstruction {
  UINT8 Size;
  UINT8 Bytes[4];
  void (*Play) (HostMachine &Machine, Registers &Register);
};

void
ReadPort (HostMachine &Machine, Registers &Register)
{
  const UINT8 Value = Machine.IoRead8 (static_cast<UINT16> (Register[REG_RDX]));
  Register[REG_RAX] = (Register[REG_RAX] & ~0xFFLL) | Value;
}

void
WritePort (HostMachine &Machine, Registers &Register)
{
  Machine.IoWrite8 (static_cast<UINT16> (Register[REG_RDX]),
                    static_cast<UINT8> (Register[REG_RAX]));
}

void
ReadMsr (HostMachine &Machine, Registers &Register)
{
  const UINT64 Value = Machine.ReadMsr (Low32 (Register[REG_RCX]));
  Register[REG_RAX] = Low32 (static_cast<greg_t> (Value));
  Register[REG_RDX] = static_cast<greg_t> (Value >> 32);
}

void
CallTdxHost (HostMachine &Machine, Registers &Register)
{
  UINT64 Args[4];
  for (int Index = 0; Index < 4; Index++) {
    Args[Index] = static_cast<UINT64> (Register[REG_R12 + Index]);
  }
  UINT64 Answer = 0;
  const auto Leaf = static_cast<UINT64> (Register[REG_R11]);
  Register[REG_R10] = static_cast<greg_t> (Machine.TdVmCall (Leaf, Args, Answer));
  Register[REG_R11] = static_cast<greg_t> (Answer);
  Register[REG_RAX] = 0;
}

/// No feature is on: in particular not the shadow stack.
void
ReadControlRegister4 (HostMachine &, Registers &Register)
{
  Register[REG_RAX] = 0;
}

template <UINTN Width>
void
LoadMemory (HostMachine &Machine, Registers &Register)
{
  Register[REG_RAX] = Machine.MmioRead (static_cast<UINTN> (Register[REG_RCX]), Width);
}

template <UINTN Width>
void
StoreMemory (HostMachine &Machine, Registers &Register)
{
  Machine.MmioWrite (static_cast<UINTN> (Register[REG_RCX]), Width, Low32 (Register[REG_RDX]));
}

constexpr PlayedInstruction PlayedInstructions[] = {
    {4, {0x66, 0x0F, 0x01, 0xCC}, CallTdxHost},    // tdcall
    {1, {0xEC}, ReadPort},                         // in %dx, %al
    {1, {0xEE}, WritePort},                        // out %al, %dx
    {2, {0x0F, 0x32}, ReadMsr},                    // rdmsr
    {3, {0x0F, 0x20, 0xE0}, ReadControlRegister4}, // mov %cr4, %rax
    {3, {0x0F, 0xB6, 0x01}, LoadMemory<1>},        // movzbl (%rcx), %eax
    {3, {0x0F, 0xB7, 0x01}, LoadMemory<2>},        // movzwl (%rcx), %eax
    {2, {0x8B, 0x01}, LoadMemory<4>},              // mov (%rcx), %eax
    {3, {0x66, 0x89, 0x11}, StoreMemory<2>},       // mov %dx, (%rcx)
    {2, {0x89, 0x11}, StoreMemory<4>},             // mov %edx, (%rcx)
};

/// Plays the instruction at which the image has trapped, and steps over it.
void
PlayInstruction (const UINT8 *Instruction, Registers &Register)
{
  for (const PlayedInstruction &Played : PlayedInstructions) {
    if (std::memcmp (Instruction, Played.Bytes, Played.Size) == 0) {
      if (gHostMachine == nullptr) {
        throw MachineFault ("machine operation while no machine is bound");
      }
      Played.Play (*gHostMachine, Register);
      Register[REG_RIP] += Played.Size;
      return;
    }
  }
  throw MachineFault ("the image trapped at its offset " +
                      std::to_string (Instruction - mRunning->Base));
}

void
OnTrap (int Signal, siginfo_t *, void *Context)
{
  Registers &Register = static_cast<ucontext_t *> (Context)->uc_mcontext.gregs;
  const auto *Instruction = reinterpret_cast<const UINT8 *> (Register[REG_RIP]);
  if (mRunning == nullptr || Instruction < mRunning->Base ||
      Instruction >= mRunning->Base + mRunning->Size) {
    // Not the image's: the instruction traps again, under whoever handled it before.
    sigaction (Signal, &mPreviousActions[Signal == TrapSignals[0] ? 0 : 1], nullptr);
    return;
  }
  try {
    PlayInstruction (Instruction, Register);
    return;
  } catch (const std::exception &Fault) {
    mWhyStopped = Fault.what ();
  }
  siglongjmp (mRunStart, 1);
}

/// While it lives the traps of Running are played.
struct TrapHandlers {
  explicit TrapHandlers (const ImageInstance *Running)
  {
    mRunning = Running;
    struct sigaction Action = {};
    Action.sa_sigaction = OnTrap;
    Action.sa_flags = SA_SIGINFO;
    for (UINTN Index = 0; Index < std::size (TrapSignals); Index++) {
      sigaction (TrapSignals[Index], &Action, &mPreviousActions[Index]);
    }
  }

  ~TrapHandlers ()
  {
    for (UINTN Index = 0; Index < std::size (TrapSignals); Index++) {
      sigaction (TrapSignals[Index], &mPreviousActions[Index], nullptr);
    }
    mRunning = nullptr;
  }
};

int
ProtectionOf (const SectionHeader &Section)
{
  return PROT_READ | ((Section.Characteristics & PE_SECTION_WRITE) != 0 ? PROT_WRITE : 0) |
         ((Section.Characteristics & PE_SECTION_EXECUTE) != 0 ? PROT_EXEC : 0);
}

void
Require (bool Holds, const char *Fault)
{
  if (!Holds) {
    throw ImageStopped (Fault);
  }
}

} // namespace

/// For ThreadSanitizer, which takes every trap for an interruption. This one comes from the image's
/// own instruction, so what plays it may allocate memory as any function that the image calls.
extern "C" const char *
__tsan_default_options ()
{
  return "report_signal_unsafe=0";
}

ImageInstance::ImageInstance (std::span<const UINT8> File)
{
  ImageFile Image;
  const char *Fault = OpenImage (File.data (), File.size (), Image);
  Require (Fault == nullptr, Fault);

  const UINTN Length = Image.Headers->ImageSize;
  void *Mapped = mmap (nullptr, Length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  Require (Mapped != MAP_FAILED, "no memory for the image");
  Memory.reset (Mapped, [Length] (void *Address) { munmap (Address, Length); });
  Base = static_cast<UINT8 *> (Mapped);
  Size = Length;
  Fault = PlaceImage (Image, Base, reinterpret_cast<UINT64> (Base));
  Require (Fault == nullptr, Fault);

  bool Protected = mprotect (Base, Size, PROT_READ) == 0;
  for (UINTN Index = 0; Index < Image.Headers->SectionCount; Index++) {
    const SectionHeader &Section = Image.Sections[Index];
    Protected &= mprotect (Base + Section.Address, Section.MemorySize, ProtectionOf (Section)) == 0;
  }
  Require (Protected, "the image's memory cannot be protected");
  Entry = reinterpret_cast<decltype (Entry)> (Base + Image.Headers->EntryPoint);
}

void
ImageInstance::Run (const std::function<void ()> &Call)
{
  const TrapHandlers Handlers (this);
  if (sigsetjmp (mRunStart, 1) != 0) {
    throw ImageStopped (mWhyStopped);
  }
  Call ();
}

void
ImageInstance::Stop (const char *Why)
{
  mWhyStopped = Why;
  siglongjmp (mRunStart, 1);
}
