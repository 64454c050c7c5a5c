/// The assembly of the image on this processor, one instruction at a time.

#include "Machine.h"

#include <algorithm>
#include <cstring>

#include <gtest/gtest.h>

#include "BaseLib.h"
#include "SteppedProcessor.h"

extern "C" {
/// Takes the place of the image's constant.
UINT32 PcdControlFlowEnforcementPropertyMask = 1;
}

namespace {

/// What a caller leaves in the upper bits of a narrow argument.
constexpr UINT64 Noise = 0xF0E1D2C300000000;

TEST (MachineOperations, ExecuteTheOneInstructionThatTheyAreNamedFor)
{
  SteppedProcessor Processor;
  Processor.Answer = 0x1122334455667788;
  const RegisterFile AnyEntry (0x30);
  const RegisterFile MsrEntry (0x30, {Noise | 0x8000001B});
  const RegisterFile InEntry (0x30, {Noise | 0xABCD03F8});
  const RegisterFile OutEntry (0x30, {Noise | 0xABCD0070, Noise | 0xABCDEF8E});
  const struct {
    UINTN Function;
    const RegisterFile &Entry;
    const char *Transcript;
    UINT64 ResultMask;
  } Rows[] = {
      {reinterpret_cast<UINTN> (AsmReadMsr64), MsrEntry, "rdmsr 8000001b; ", ~0ULL},
      {reinterpret_cast<UINTN> (AsmReadTsc), AnyEntry, "rdtsc; ", ~0ULL},
      {reinterpret_cast<UINTN> (IoRead8), InEntry, "in 3f8; ", 0xFF},
      {reinterpret_cast<UINTN> (IoWrite8), OutEntry, "out 70 8e; ", 0},
      {reinterpret_cast<UINTN> (CpuPause), AnyEntry, "pause; ", 0},
      {reinterpret_cast<UINTN> (CpuBreakpoint), AnyEntry, "int3; ", 0},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Transcript);
    const RegisterFile Exit = Processor.Run (Row.Function, Row.Entry);
    EXPECT_EQ (Processor.TakeTranscript (), Row.Transcript);
    EXPECT_EQ (Exit.General[RAX] & Row.ResultMask, Processor.Answer & Row.ResultMask);
    EXPECT_TRUE (HaveSamePreservedRegisters (Exit, Row.Entry));
  }
}

TEST (MachineOperations, StoreTheCpuidRegistersThatAreAskedFor)
{
  SteppedProcessor Processor;
  constexpr UINT32 Answer[4] = {0xA1A1A1A1, 0xB2B2B2B2, 0xC3C3C3C3, 0xD4D4D4D4};
  std::copy_n (Answer, 4, Processor.CpuidAnswer);
  for (UINT32 Asked = 0; Asked < 16; ++Asked) {
    SCOPED_TRACE (Asked);
    for (const bool WithSubLeaf : {false, true}) {
      UINT32 Stored[4] = {};
      UINT64 To[4];
      for (UINTN Number = 0; Number < 4; ++Number) {
        To[Number] = Asked >> Number & 1 ? reinterpret_cast<UINT64> (Stored + Number) : 0;
      }
      const RegisterFile Entry =
          WithSubLeaf ? RegisterFile (0x30, {Noise | 0xB, Noise | 2, To[0], To[1], To[2], To[3]})
                      : RegisterFile (0x30, {Noise | 0x80000008, To[0], To[1], To[2], To[3]});
      const RegisterFile Exit =
          WithSubLeaf ? Processor.Run (AsmCpuidEx, Entry) : Processor.Run (AsmCpuid, Entry);
      EXPECT_EQ (Processor.TakeTranscript (), WithSubLeaf ? "cpuid b 2; " : "cpuid 80000008 0; ");
      EXPECT_EQ (static_cast<UINT32> (Exit.General[RAX]), WithSubLeaf ? 0xBU : 0x80000008U);
      EXPECT_TRUE (HaveSamePreservedRegisters (Exit, Entry));
      for (UINTN Number = 0; Number < 4; ++Number) {
        EXPECT_EQ (Stored[Number], To[Number] != 0 ? Answer[Number] : 0);
      }
    }
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
  const struct {
    const char *Name;
    UINT64 CallStatus;
    UINT64 HostStatus;
    bool WithResult;
    UINT64 Status;
    UINT64 Result;
  } Rows[] = {
      {"success", 0, 0, true, 0, 0x4845A50B},
      {"success without a result pointer", 0, 0, false, 0, 0x01D},
      {"failure of the host", 0, 0x8000000000000001, true, 0x8000000000000001, 0x01D},
      {"failure of the call", 0xC000010000000000, 0, true, 0xC000010000000000, 0x01D},
  };
  SteppedProcessor Processor;
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    GeneralRegisters AtCall = {};
    Processor.VmCallHost = [&] (GeneralRegisters &General) {
      std::copy_n (General, GENERAL_REGISTER_COUNT, AtCall);
      for (const GeneralRegister Exposed : {RDX, RBX, RBP, RSI, RDI, R8, R9, R12, R13, R14, R15}) {
        General[Exposed] = 0x4845A500 + Exposed;
      }
      General[RAX] = Row.CallStatus;
      General[R10] = Row.HostStatus;
      General[R11] = 0x4845A50B;
    };
    UINT64 Result = 0x01D;
    const RegisterFile Entry (0x30, {31, 0xA1, 0xA2, 0xA3, 0xA4,
                                     Row.WithResult ? reinterpret_cast<UINT64> (&Result) : 0});
    const RegisterFile Exit = Processor.Run (TdVmCall, Entry);

    EXPECT_EQ (Processor.TakeTranscript (), "tdcall; ");
    AtCall[RSP] = 0;
    const GeneralRegisters Contract = {0, 0xFFEC, 0, 0,  0,    0,    0,    0,
                                       0, 0,      0, 31, 0xA1, 0xA2, 0xA3, 0xA4};
    for (UINTN Number = 0; Number < GENERAL_REGISTER_COUNT; ++Number) {
      EXPECT_EQ (AtCall[Number], Contract[Number]) << "register " << Number;
    }
    EXPECT_EQ (Exit.General[RAX], Row.Status);
    EXPECT_EQ (Result, Row.Result);
    for (const GeneralRegister Cleared : {RCX, RDX, R8, R9, R10, R11}) {
      EXPECT_EQ (Exit.General[Cleared], 0U) << "register " << Cleared;
    }
    EXPECT_TRUE (HaveSamePreservedRegisters (Exit, Entry));
  }
}

/// Rounding and exception bits other than those of a process.
constexpr UINT32 UnusualMxCsr = 0x7F80 & ~0x0080U;

JumpBuffer mJumpBuffer;
SteppedProcessor *mProcessor;
std::string mAtSetJump;

/// Jumps back from a deeper call, where every register holds something else.
VOID
JumpBack ()
{
  constexpr UINTN DeeperCalls = 3;
  mProcessor->ShadowStackPointer -= 8 * DeeperCalls;
  mAtSetJump = mProcessor->TakeTranscript ();
  (void)mProcessor->Run (LongJump,
                         RegisterFile (0x60, {reinterpret_cast<UINT64> (&mJumpBuffer), ~0ULL}));
}

TEST (SetJump, BringsBackThePreservedRegistersAndMovesTheShadowStack)
{
  constexpr UINT64 CetOn = 1ULL << 23;
  const struct {
    const char *Name;
    UINT32 Mask;
    UINT64 Cr4;
    const char *AtSetJump;
    const char *AtLongJump;
    bool MovesShadowStack;
  } Rows[] = {
      {"build without", 0, CetOn, "", "", false},
      {"processor without", 1, ~CetOn, "mov cr4; ", "mov cr4; ", false},
      {"both with", 1, CetOn, "mov cr4; incssp 1; rdssp; ", "mov cr4; rdssp; incssp 3; ", true},
      {"any bit of the mask", 0x80000000, CetOn, "mov cr4; incssp 1; rdssp; ",
       "mov cr4; rdssp; incssp 3; ", true},
  };
  constexpr UINT64 CallersShadowStack = 0x7000;
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    PcdControlFlowEnforcementPropertyMask = Row.Mask;
    SteppedProcessor Processor;
    mProcessor = &Processor;
    Processor.Cr4 = Row.Cr4;
    Processor.ShadowStackPointer = CallersShadowStack - 8;
    std::memset (&mJumpBuffer, 0xEE, sizeof (mJumpBuffer));

    RegisterFile Entry (0x30, {reinterpret_cast<UINT64> (&mJumpBuffer)});
    Entry.MxCsr = UnusualMxCsr;
    const RegisterFile Exit = Processor.Run (SetJump, Entry, JumpBack);

    EXPECT_EQ (mAtSetJump, Row.AtSetJump);
    EXPECT_EQ (Processor.TakeTranscript (), Row.AtLongJump);
    EXPECT_EQ (Exit.General[RAX], ~0ULL);
    EXPECT_TRUE (HaveSamePreservedRegisters (Exit, Entry));
    EXPECT_EQ (mJumpBuffer.Ssp + 0, Row.MovesShadowStack ? CallersShadowStack : 0U);
    EXPECT_EQ (Processor.ShadowStackPointer,
               CallersShadowStack - (Row.MovesShadowStack ? 0 : 8 + 3 * 8));

    EXPECT_EQ (mJumpBuffer.Rbx + 0, Entry.General[RBX]);
    EXPECT_EQ (mJumpBuffer.Rbp + 0, Entry.General[RBP]);
    EXPECT_EQ (mJumpBuffer.Rdi + 0, Entry.General[RDI]);
    EXPECT_EQ (mJumpBuffer.Rsi + 0, Entry.General[RSI]);
    EXPECT_EQ (mJumpBuffer.MxCsr + 0, UnusualMxCsr);
    EXPECT_TRUE (std::equal (mJumpBuffer.Xmm6, mJumpBuffer.Reserved, Entry.Xmm[6]));
    EXPECT_EQ (mJumpBuffer.Reserved[0], 0xEE);
  }
}

} // namespace
