#include "SteppedProcessor.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <ucontext.h>

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

enum SteppedInstruction : UINTN {
  MOV_FROM_CR4,
  RDSSP,
  INCSSP,
  TDCALL,
  RDMSR,
  RDTSC,
  CPUID,
  IN_AL,
  OUT_AL,
  PAUSE,
  INT3,
  MFENCE,
  MOVNTDQ
};

extern "C" {
void RunStepped (SteppedCall *Call);

/// Goes on stepping, at mSteppedReturn.
void ResumeStepping ();
[[gnu::visibility ("hidden")]] UINTN mSteppedReturn = 0;
}

namespace {

SteppedProcessor *mProcessor = nullptr;

/// Places of the general registers in a signal's context.
constexpr int ContextIndex[GENERAL_REGISTER_COUNT] = {
    REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI,
    REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};

/// Lets a function that watched code has just called run without traps up to its return.
void
StepOver (greg_t (&Context)[NGREG])
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
OnTrap (int, siginfo_t *, void *SignalContext)
{
  auto &Context = static_cast<ucontext_t *> (SignalContext)->uc_mcontext.gregs;
  if (mProcessor->OnlyWatches && !mProcessor->IsWatched (static_cast<UINTN> (Context[REG_RIP]))) {
    StepOver (Context);
    return;
  }
  GeneralRegisters General;
  for (UINTN Number = 0; Number < GENERAL_REGISTER_COUNT; ++Number) {
    General[Number] = static_cast<UINT64> (Context[ContextIndex[Number]]);
  }

  const auto *Start = reinterpret_cast<const UINT8 *> (Context[REG_RIP]);
  const UINT8 *Code = Start;
  while (const UINTN Length = mProcessor->Play (Code, General)) {
    Code += Length;
  }

  Context[REG_RIP] += Code - Start;
  for (UINTN Number = 0; Number < GENERAL_REGISTER_COUNT; ++Number) {
    Context[ContextIndex[Number]] = static_cast<greg_t> (General[Number]);
  }
}

/// The two halves of a 64-bit answer, as RDMSR and RDTSC give them.
void
AnswerInEdxEax (GeneralRegisters &General, UINT64 Answer)
{
  General[RAX] = Answer & 0xFFFFFFFF;
  General[RDX] = Answer >> 32;
}

/// Encodings (Intel SDM, volume 2; TDCALL: Intel TDX Module, ABI reference): an optional prefix, an
/// optional REX byte, the opcode, and where OperandBase is not 0 one byte that holds it and a
/// register in its low three bits.
const struct {
  UINT8 Prefix;
  std::initializer_list<UINT8> Opcode;
  UINT8 OperandBase;
  SteppedInstruction Name;
} Instructions[] = {
    {0x00, {0x0F, 0x20}, 0xE0, MOV_FROM_CR4},
    {0xF3, {0x0F, 0x1E}, 0xC8, RDSSP},
    {0xF3, {0x0F, 0xAE}, 0xE8, INCSSP},
    {0x66, {0x0F, 0x01, 0xCC}, 0, TDCALL},
    {0x00, {0x0F, 0x32}, 0, RDMSR},
    {0x00, {0x0F, 0x31}, 0, RDTSC},
    {0x00, {0x0F, 0xA2}, 0, CPUID},
    {0x00, {0xEC}, 0, IN_AL},
    {0x00, {0xEE}, 0, OUT_AL},
    {0xF3, {0x90}, 0, PAUSE},
    {0x00, {0xCC}, 0, INT3},
    {0x00, {0x0F, 0xAE, 0xF0}, 0, MFENCE},
    {0x66, {0x0F, 0xE7}, 0, MOVNTDQ},
};

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

SteppedProcessor::SteppedProcessor ()
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

SteppedProcessor::Step
SteppedProcessor::Perform (SteppedInstruction Instruction,
                           GeneralRegisters &General,
                           UINT64 &Operand)
{
  const auto Eax = static_cast<UINT32> (General[RAX]);
  const auto Ecx = static_cast<UINT32> (General[RCX]);
  const auto Dx = static_cast<UINT16> (General[RDX]);
  switch (Instruction) {
  case MOV_FROM_CR4:
    Operand = Cr4;
    return {"mov cr4", 0, {}};
  case RDSSP:
    Operand = ShadowStackPointer;
    return {"rdssp", 0, {}};
  case INCSSP:
    ShadowStackPointer += 8 * (Operand & 0xFF);
    return {"incssp", 1, {Operand}};
  case TDCALL:
    VmCallHost (General);
    return {"tdcall", 0, {}};
  case RDMSR:
    AnswerInEdxEax (General, Answer);
    return {"rdmsr", 1, {Ecx}};
  case RDTSC:
    AnswerInEdxEax (General, Answer);
    return {"rdtsc", 0, {}};
  case CPUID:
    General[RAX] = CpuidAnswer[0];
    General[RBX] = CpuidAnswer[1];
    General[RCX] = CpuidAnswer[2];
    General[RDX] = CpuidAnswer[3];
    return {"cpuid", 2, {Eax, Ecx}};
  case IN_AL:
    General[RAX] = (General[RAX] & ~0xFFULL) | (Answer & 0xFF);
    return {"in", 1, {Dx}};
  case OUT_AL:
    return {"out", 2, {Dx, Eax & 0xFF}};
  case PAUSE:
    return {"pause", 0, {}};
  case INT3:
    return {"int3", 0, {}};
  case MFENCE:
    return {"mfence", 0, {}};
  case MOVNTDQ:
    break;
  }
  return {"movntdq", 0, {}};
}

bool
SteppedProcessor::IsWatched (UINTN Address) const
{
  return Address >= Watch.Begin && Address < Watch.End;
}

UINTN
SteppedProcessor::Play (const UINT8 *Code, GeneralRegisters &General)
{
  if (IsWatched (reinterpret_cast<UINTN> (Code))) {
    if (Watch.Instructions++ == 0) {
      Watch.EntryStackPointer = Watch.LowestStackPointer = General[RSP];
    }
    Watch.LowestStackPointer = std::min<UINTN> (Watch.LowestStackPointer, General[RSP]);
  }
  if (OnlyWatches) {
    return 0;
  }

  constexpr UINT8 RexMask = 0xF0;
  constexpr UINT8 Rex = 0x40;
  for (const auto &Known : Instructions) {
    const UINT8 *Byte = Code;
    if (Known.Prefix != 0 && *Byte++ != Known.Prefix) {
      continue;
    }
    const bool IsUpperRegister = (*Byte & (RexMask | 1)) == (Rex | 1);
    Byte += (*Byte & RexMask) == Rex;
    if (!std::equal (Known.Opcode.begin (), Known.Opcode.end (), Byte)) {
      continue;
    }
    Byte += Known.Opcode.size ();

    UINTN Operand = 0;
    if (Known.OperandBase != 0) {
      if ((*Byte & ~7) != Known.OperandBase) {
        continue;
      }
      Operand = (*Byte++ & 7U) + (IsUpperRegister ? 8U : 0U);
    }
    const Step Done = Perform (Known.Name, General, General[Operand]);
    if (StepCount < std::size (Steps)) {
      Steps[StepCount++] = Done;
    }
    const bool RunsForReal = Known.Name == MFENCE || Known.Name == MOVNTDQ;
    return RunsForReal ? 0 : static_cast<UINTN> (Byte - Code);
  }
  return 0;
}

std::string
SteppedProcessor::TakeTranscript ()
{
  std::ostringstream Text;
  for (const Step &Done : std::span (Steps, std::exchange (StepCount, 0))) {
    Text << Done.Name << std::hex;
    for (UINTN Index = 0; Index < Done.OperandCount; ++Index) {
      Text << " " << Done.Operands[Index];
    }
    Text << "; ";
  }
  return Text.str ();
}

RegisterFile
SteppedProcessor::Run (UINTN Function, const RegisterFile &Entry, VOID (*Then) ())
{
  SteppedCall Call = {.Entry = Entry, .Exit = Entry, .Function = Function, .Then = Then};
  RunStepped (&Call);
  return Call.Exit;
}
