/// The assembly of the image on this processor, one instruction at a time.

#include "Machine.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include <gtest/gtest.h>

#include "BaseLib.h"
#include "SteppedProcessor.h"

// The image's constant under another name, so that one that changes can take its place.
#define PcdControlFlowEnforcementPropertyMask ImagePropertyMask
#include "X64/ControlFlowEnforcement.cpp"
#undef PcdControlFlowEnforcementPropertyMask

extern "C" {
UINT32 PcdControlFlowEnforcementPropertyMask = 0;
}

namespace {

/// What a caller leaves in the upper bits of a narrow argument.
constexpr UINT64 Noise = 0xF0E1D2C300000000;

/// Calls Function and expects the played instructions of Transcript, the bits of Mask in RAX to be
/// those of Result, and the preserved registers as they were. Returns the registers it left behind.
template <typename FunctionType>
RegisterFile
ExpectCall (SteppedProcessor &Processor,
            FunctionType *Function,
            std::initializer_list<UINT64> Arguments,
            const char *Transcript,
            UINT64 Result,
            UINT64 Mask = ~0ULL)
{
  const RegisterFile Entry (0x30, Arguments);
  const RegisterFile Exit = Processor.Run (Function, Entry);
  EXPECT_EQ (Processor.TakeTranscript (), Transcript);
  EXPECT_EQ (Exit.General[RAX] & Mask, Result & Mask) << Transcript;
  EXPECT_TRUE (HaveSamePreservedRegisters (Exit, Entry)) << Transcript;
  return Exit;
}

TEST (MachineOperations, ExecuteTheOneInstructionThatTheyAreNamedFor)
{
  SteppedProcessor Processor;
  const UINT64 Answer = Processor.Answer = 0x1122334455667788;
  ExpectCall (Processor, AsmReadMsr64, {Noise | 0x8000001B}, "rdmsr 8000001b; ", Answer);
  ExpectCall (Processor, AsmReadTsc, {}, "rdtsc; ", Answer);
  ExpectCall (Processor, IoRead8, {Noise | 0xABCD03F8}, "in 3f8; ", Answer, 0xFF);
  ExpectCall (Processor, IoWrite8, {Noise | 0xABCD0070, Noise | 0xABCDEF8E}, "out 70 8e; ", 0, 0);
  ExpectCall (Processor, CpuPause, {}, "pause; ", 0, 0);
  ExpectCall (Processor, CpuBreakpoint, {}, "int3; ", 0, 0);
}

TEST (MachineOperations, StoreTheCpuidRegistersThatAreAskedFor)
{
  SteppedProcessor Processor;
  constexpr std::array<UINT32, 4> Answer = {0xA1A1A1A1, 0xB2B2B2B2, 0xC3C3C3C3, 0xD4D4D4D4};
  Processor.CpuidAnswer = {Answer[0], Answer[1], Answer[2], Answer[3]};
  for (UINT32 Asked = 0; Asked < 16; ++Asked) {
    SCOPED_TRACE (Asked);
    std::array<UINT32, 4> Stored = {}, Expected = {};
    UINT64 To[4] = {};
    for (UINTN Number = 0; Number < 4; ++Number) {
      if ((Asked >> Number & 1) != 0) {
        To[Number] = reinterpret_cast<UINT64> (&Stored[Number]);
        Expected[Number] = Answer[Number];
      }
    }
    ExpectCall (Processor, AsmCpuid, {Noise | 0x80000008, To[0], To[1], To[2], To[3]},
                "cpuid 80000008 0; ", 0x80000008, 0xFFFFFFFF);
    EXPECT_EQ (std::exchange (Stored, {}), Expected);
    ExpectCall (Processor, AsmCpuidEx, {Noise | 0xB, Noise | 2, To[0], To[1], To[2], To[3]},
                "cpuid b 2; ", 0xB, 0xFFFFFFFF);
    EXPECT_EQ (Stored, Expected);
  }
}

TEST (MachineOperations, LoadAndStoreMemoryOfTheirWidth)
{
  UINT8 Bytes[] = {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
  const auto Address = reinterpret_cast<UINTN> (Bytes + 1);
  EXPECT_EQ (MmioLoad8 (Address), 0x99);
  EXPECT_EQ (MmioLoad16 (Address), 0xAA99);
  EXPECT_EQ (MmioLoad32 (Address), 0xCCBBAA99);

  MmioStore16 (Address, 0x0201);
  MmioStore32 (Address + 3, 0x06050403);
  constexpr UINT8 Expected[] = {0x88, 0x01, 0x02, 0xBB, 0x03, 0x04, 0x05, 0x06};
  EXPECT_TRUE (std::equal (Bytes, Bytes + sizeof (Bytes), Expected));
}

TEST (TdVmCall, KeepsTheRegisterContractOfTheHost)
{
  constexpr UINT64 Untouched = 0x01D;
  constexpr UINT64 Answer = 0x4845A50B;
  constexpr UINT64 Failure = 0xC000010000000000;
  const struct {
    UINT64 CallStatus, HostStatus;
    bool WithResult;
    UINT64 Status, Result;
  } Rows[] = {
      {0, 0, true, 0, Answer},
      {0, 0, false, 0, Untouched},
      {0, Failure, true, Failure, Untouched},
      {Failure, 0, true, Failure, Untouched},
  };
  SteppedProcessor Processor;
  for (const auto &Row : Rows) {
    SCOPED_TRACE (&Row - Rows);
    std::array<UINT64, GENERAL_REGISTER_COUNT> AtCall = {};
    Processor.VmCallHost = [&] (GeneralRegisters &General) {
      AtCall = std::to_array (General);
      for (const GeneralRegister Exposed : {RDX, RBX, RBP, RSI, RDI, R8, R9, R12, R13, R14, R15}) {
        General[Exposed] = Answer - R11 + Exposed;
      }
      General[RAX] = Row.CallStatus;
      General[R10] = Row.HostStatus;
      General[R11] = Answer;
    };
    UINT64 Result = Untouched;
    const UINT64 To = Row.WithResult ? reinterpret_cast<UINT64> (&Result) : 0;
    const RegisterFile Exit =
        ExpectCall (Processor, TdVmCall, {31, 0xA1, 0xA2, 0xA3, 0xA4, To}, "tdcall; ", Row.Status);
    AtCall[RSP] = 0;
    EXPECT_EQ (AtCall, (decltype (AtCall){0, 0xFFEC, 0, 0, 0, 0, 0, 0, 0, 0, 0, 31, 0xA1, 0xA2,
                                          0xA3, 0xA4}));
    EXPECT_EQ (Result, Row.Result);
    for (const GeneralRegister Cleared : {RCX, RDX, R8, R9, R10, R11}) {
      EXPECT_EQ (Exit.General[Cleared], 0U) << "register " << Cleared;
    }
  }
}

JumpBuffer mJumpBuffer;
SteppedProcessor *mProcessor;
std::string mAtSetJump;

/// Jumps back from three calls deeper, where every register holds something else.
VOID
JumpBack ()
{
  mProcessor->ShadowStackPointer -= 3 * 8;
  mAtSetJump = mProcessor->TakeTranscript ();
  RegisterFile Deeper (0x60, {reinterpret_cast<UINT64> (&mJumpBuffer), ~0ULL});
  Deeper.MxCsr = 0x1F80;
  (void)mProcessor->Run (LongJump, Deeper);
}

TEST (SetJump, BringsBackThePreservedRegistersAndMovesTheShadowStack)
{
  constexpr UINT64 CetOn = 1ULL << 23;
  const struct {
    UINT32 Mask;
    UINT64 Cr4;
    const char *AtSetJump;
    const char *AtLongJump;
    bool MovesShadowStack;
  } Rows[] = {
      {0, CetOn, "", "", false},
      {ImagePropertyMask, ~CetOn, "mov cr4; ", "mov cr4; ", false},
      {0x80000000, CetOn, "mov cr4; incssp 1; rdssp; ", "mov cr4; rdssp; incssp 3; ", true},
  };
  constexpr UINT64 CallersShadowStack = 0x7000;
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.AtSetJump);
    PcdControlFlowEnforcementPropertyMask = Row.Mask;
    SteppedProcessor Processor;
    mProcessor = &Processor;
    Processor.Cr4 = Row.Cr4;
    Processor.ShadowStackPointer = CallersShadowStack - 8;
    std::memset (&mJumpBuffer, 0xEE, sizeof (mJumpBuffer));

    RegisterFile Entry (0x30, {reinterpret_cast<UINT64> (&mJumpBuffer)});
    Entry.MxCsr = 0x7F00; // other rounding and exceptions than those of a process
    const RegisterFile Exit = Processor.Run (SetJump, Entry, JumpBack);

    EXPECT_EQ (mAtSetJump, Row.AtSetJump);
    EXPECT_EQ (Processor.TakeTranscript (), Row.AtLongJump);
    EXPECT_EQ (Exit.General[RAX], ~0ULL);
    EXPECT_TRUE (HaveSamePreservedRegisters (Exit, Entry));
    EXPECT_EQ (mJumpBuffer.Ssp + 0, Row.MovesShadowStack ? CallersShadowStack : 0U);
    EXPECT_EQ (Processor.ShadowStackPointer,
               CallersShadowStack - (Row.MovesShadowStack ? 0 : 8 + 3 * 8));
    EXPECT_EQ (mJumpBuffer.Reserved[0], 0xEE);
  }
}

} // namespace
