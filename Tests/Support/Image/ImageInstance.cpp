#include "ImageInstance.h"

#include <csetjmp>
#include <csignal>
#include <sys/mman.h>

#include "ImageLoader.h"
#include "InstructionPlayer.h"

namespace {

/// What a signal handler must find. One image runs at a time.
const ImageInstance *mRunning = nullptr;
std::string mWhyStopped;
sigjmp_buf mRunStart;
struct sigaction mPreviousActions[2];
constexpr int TrapSignals[2] = {SIGSEGV, SIGILL};

/// Plays the instruction at which the image has trapped, without any feature on in CR4: in
/// particular the shadow stack.
void
PlayInstruction (SignalContext &Context)
{
  if (gHostMachine == nullptr) {
    throw MachineFault ("machine operation while no machine is bound");
  }
  InstructionPlayer Player (*gHostMachine);
  if (!Player.Play (Context) && !Player.PlayMemoryAccess (Context)) {
    const auto *Instruction = reinterpret_cast<const UINT8 *> (Context[REG_RIP]);
    throw MachineFault ("the image trapped at its offset " +
                        std::to_string (Instruction - mRunning->Base));
  }
}

void
OnTrap (int Signal, siginfo_t *, void *Stopped)
{
  SignalContext &Context = static_cast<ucontext_t *> (Stopped)->uc_mcontext.gregs;
  const auto *Instruction = reinterpret_cast<const UINT8 *> (Context[REG_RIP]);
  if (mRunning == nullptr || Instruction < mRunning->Base ||
      Instruction >= mRunning->Base + mRunning->Size) {
    // Not the image's: the instruction traps again, under whoever handled it before.
    sigaction (Signal, &mPreviousActions[Signal == TrapSignals[0] ? 0 : 1], nullptr);
    return;
  }
  try {
    PlayInstruction (Context);
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
