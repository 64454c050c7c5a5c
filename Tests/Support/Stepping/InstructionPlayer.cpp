#include "InstructionPlayer.h"

#include <algorithm>
#include <span>
#include <sstream>
#include <utility>

enum PlayedInstruction : UINTN {
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

namespace {

/// Places of the general registers in a signal's context.
constexpr int ContextIndex[GENERAL_REGISTER_COUNT] = {
    REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI,
    REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};

/// Encodings (Intel SDM, volume 2; TDCALL: Intel TDX Module, ABI reference): an optional prefix, an
/// optional REX byte, the opcode, and where OperandBase is not 0 one byte that holds it and a
/// register in its low three bits.
const struct {
  UINT8 Prefix;
  std::initializer_list<UINT8> Opcode;
  UINT8 OperandBase;
  PlayedInstruction Name;
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

/// The accesses to memory: the address is in RCX, the value comes to RAX or from RDX.
const struct {
  std::initializer_list<UINT8> Code;
  UINTN Width;
  bool IsStore;
} MemoryAccesses[] = {
    {{0x0F, 0xB6, 0x01}, 1, false}, // movzbl (%rcx), %eax
    {{0x0F, 0xB7, 0x01}, 2, false}, // movzwl (%rcx), %eax
    {{0x8B, 0x01}, 4, false},       // mov (%rcx), %eax
    {{0x66, 0x89, 0x11}, 2, true},  // mov %dx, (%rcx)
    {{0x89, 0x11}, 4, true},        // mov %edx, (%rcx)
};

const UINT8 *
CodeAt (const SignalContext &Context)
{
  return reinterpret_cast<const UINT8 *> (Context[REG_RIP]);
}

/// The two halves of a 64-bit answer, as RDMSR and RDTSC give them.
void
AnswerInEdxEax (GeneralRegisters &General, UINT64 Answer)
{
  General[RAX] = Answer & 0xFFFFFFFF;
  General[RDX] = Answer >> 32;
}

} // namespace

void
InstructionPlayer::CallMachineAsHost (GeneralRegisters &General)
{
  UINT64 Answer = 0;
  General[R10] = Machine.TdVmCall (
      General[R11], {General[R12], General[R13], General[R14], General[R15]}, Answer);
  General[R11] = Answer;
  General[RAX] = 0;
}

InstructionPlayer::Step
InstructionPlayer::Perform (PlayedInstruction Instruction,
                            GeneralRegisters &General,
                            UINT64 &Operand)
{
  const auto Eax = static_cast<UINT32> (General[RAX]);
  const auto Ecx = static_cast<UINT32> (General[RCX]);
  const auto Al = static_cast<UINT8> (General[RAX]);
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
    VmCallHost ? VmCallHost (General) : CallMachineAsHost (General);
    return {"tdcall", 0, {}};
  case RDMSR:
    AnswerInEdxEax (General, Machine.ReadMsr (Ecx));
    return {"rdmsr", 1, {Ecx}};
  case RDTSC:
    AnswerInEdxEax (General, Machine.ReadTsc ());
    return {"rdtsc", 0, {}};
  case CPUID: {
    const CpuidRegisters Answer = Machine.Cpuid (Eax, Ecx);
    General[RAX] = Answer.Eax;
    General[RBX] = Answer.Ebx;
    General[RCX] = Answer.Ecx;
    General[RDX] = Answer.Edx;
    return {"cpuid", 2, {Eax, Ecx}};
  }
  case IN_AL:
    General[RAX] = (General[RAX] & ~0xFFULL) | Machine.IoRead8 (Dx);
    return {"in", 1, {Dx}};
  case OUT_AL:
    Machine.IoWrite8 (Dx, Al);
    return {"out", 2, {Dx, Al}};
  case PAUSE:
    Machine.Pause ();
    return {"pause", 0, {}};
  case INT3:
    Machine.Breakpoint ();
    return {"int3", 0, {}};
  case MFENCE:
    return {"mfence", 0, {}};
  case MOVNTDQ:
    break;
  }
  return {"movntdq", 0, {}};
}

UINTN
InstructionPlayer::PlayAt (const UINT8 *Code, GeneralRegisters &General)
{
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

bool
InstructionPlayer::Play (SignalContext &Context)
{
  GeneralRegisters General;
  for (UINTN Number = 0; Number < GENERAL_REGISTER_COUNT; ++Number) {
    General[Number] = static_cast<UINT64> (Context[ContextIndex[Number]]);
  }
  const UINTN Length = PlayAt (CodeAt (Context), General);
  Context[REG_RIP] += static_cast<greg_t> (Length);
  for (UINTN Number = 0; Number < GENERAL_REGISTER_COUNT; ++Number) {
    Context[ContextIndex[Number]] = static_cast<greg_t> (General[Number]);
  }
  return Length != 0;
}

bool
InstructionPlayer::PlayMemoryAccess (SignalContext &Context)
{
  const auto Address = static_cast<UINTN> (Context[REG_RCX]);
  for (const auto &[Code, Width, IsStore] : MemoryAccesses) {
    if (!std::equal (Code.begin (), Code.end (), CodeAt (Context))) {
      continue;
    }
    if (IsStore) {
      Machine.MmioWrite (Address, Width, static_cast<UINT32> (Context[REG_RDX]));
    } else {
      Context[REG_RAX] = Machine.MmioRead (Address, Width);
    }
    Context[REG_RIP] += static_cast<greg_t> (Code.size ());
    return true;
  }
  return false;
}

std::string
InstructionPlayer::TakeTranscript ()
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
