#include "SteppedProcessor.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "SteppedCallOffsets.h"

LAYOUT_OFFSET (RegisterFile, General, REGISTER_FILE_GENERAL (0));
LAYOUT_OFFSET (RegisterFile, StackArguments, REGISTER_FILE_STACK_ARGUMENTS);
static_assert (sizeof (RegisterFile) == REGISTER_FILE_SIZE);

/// What RunStepped takes. It clears Then before it calls it.
struct SteppedCall {
  RegisterFile Entry;
  RegisterFile Exit;
  UINTN Function;
  VOID (*Then) ();
};
LAYOUT_OFFSET (SteppedCall, Exit, STEPPED_CALL_EXIT);
LAYOUT_OFFSET (SteppedCall, Function, STEPPED_CALL_FUNCTION);
LAYOUT_OFFSET (SteppedCall, Then, STEPPED_CALL_THEN);

extern "C" {
void RunStepped (SteppedCall *Call);

/// Goes on stepping, at mSteppedReturn.
void ResumeStepping ();
[[gnu::visibility ("hidden")]] UINTN mSteppedReturn = 0;
}

namespace {

SteppedProcessor *mProcessor = nullptr;

/// Lets a function that watched code has just called run without traps up to its return.
void
StepOver (SignalContext &Context)
{
  constexpr greg_t TrapFlag = 0x100;
  auto &ReturnAddress = *reinterpret_cast<UINTN *> (Context[REG_RSP]);
  if (mProcessor->IsWatched (ReturnAddress)) {
    mSteppedReturn = ReturnAddress;
    ReturnAddress = reinterpret_cast<UINTN> (ResumeStepping);
    Context[REG_EFL] &= ~TrapFlag;
  }
}

void
OnTrap (int, siginfo_t *, void *Stopped)
{
  SignalContext &Context = static_cast<ucontext_t *> (Stopped)->uc_mcontext.gregs;
  do {
    if (mProcessor->IsWatched (static_cast<UINTN> (Context[REG_RIP]))) {
      mProcessor->Count (static_cast<UINTN> (Context[REG_RSP]));
    } else if (mProcessor->OnlyWatches) {
      StepOver (Context);
    }
  } while (!mProcessor->OnlyWatches && mProcessor->Play (Context));
}

} // namespace

RegisterFile::RegisterFile (UINT8 Seed, std::initializer_list<UINT64> Arguments)
{
  asm volatile("fxsave %0" : "=m"(*this));
  for (UINTN Number = 0; Number < 16; ++Number) {
    std::memset (Xmm[Number], static_cast<int> (Seed + Number), sizeof (Xmm[Number]));
    General[Number] = (Seed + Number) * 0x0101010101010101 + 0x8000000000000000;
  }
  std::copy_n (Xmm[0], sizeof (StackArguments), reinterpret_cast<UINT8 *> (StackArguments));

  UINT64 *const Places[] = {&General[RCX], &General[RDX],      &General[R8],
                            &General[R9],  &StackArguments[0], &StackArguments[1]};
  auto Place = std::begin (Places);
  for (const UINT64 Argument : Arguments) {
    **Place++ = Argument;
  }
}

bool
HaveSamePreservedRegisters (const RegisterFile &Left, const RegisterFile &Right)
{
  constexpr GeneralRegister Preserved[] = {RBX, RBP, RSI, RDI, R12, R13, R14, R15};
  constexpr UINTN FirstPreservedXmm = 6;
  return std::all_of (std::begin (Preserved), std::end (Preserved),
                      [&] (GeneralRegister Number) {
                        return Left.General[Number] == Right.General[Number];
                      }) &&
         std::equal (Left.Xmm[FirstPreservedXmm], Left.Unused, Right.Xmm[FirstPreservedXmm]) &&
         Left.MxCsr == Right.MxCsr;
}

SteppedProcessor::SteppedProcessor () : InstructionPlayer (static_cast<HostMachine &> (*this))
{
  mProcessor = this;
  struct sigaction Action = {};
  Action.sa_sigaction = OnTrap;
  Action.sa_flags = SA_SIGINFO;
  if (sigaction (SIGTRAP, &Action, &PreviousAction) != 0) {
    throw std::runtime_error ("no handler for the trap flag");
  }
}

SteppedProcessor::~SteppedProcessor ()
{
  (void)sigaction (SIGTRAP, &PreviousAction, nullptr);
  mProcessor = nullptr;
}

bool
SteppedProcessor::IsWatched (UINTN Address) const
{
  return Address >= Watch.Begin && Address < Watch.End;
}

void
SteppedProcessor::Count (UINTN StackPointer)
{
  if (Watch.Instructions++ == 0) {
    Watch.EntryStackPointer = Watch.LowestStackPointer = StackPointer;
  }
  Watch.LowestStackPointer = std::min (Watch.LowestStackPointer, StackPointer);
}

RegisterFile
SteppedProcessor::Run (UINTN Function, const RegisterFile &Entry, VOID (*Then) ())
{
  SteppedCall Call = {.Entry = Entry, .Exit = Entry, .Function = Function, .Then = Then};
  RunStepped (&Call);
  return Call.Exit;
}
