#include "BaseLib.h"

#include <algorithm>
#include <array>
#include <vector>

#include "ModuleTestBench.h"
#include "Pcd.h"

namespace {

using BaseLib = ModuleTestBench;

/// Room for a jump buffer, on its boundary and off it.
alignas (JumpBuffer) UINT8 mJumpRoom[sizeof (JumpBuffer) + 1];

JumpBuffer *
JumpBufferAt (UINTN Offset)
{
  return reinterpret_cast<JumpBuffer *> (mJumpRoom + Offset);
}

TEST_F (BaseLib, CountsTextOfEveryLength)
{
  // Exact allocations: a sanitizer sees the read of one character too many.
  for (UINTN Length = 0; Length < 64; ++Length) {
    std::vector<CHAR16> Wide (Length, u'\x0100');
    std::vector<CHAR8> Narrow (Length, '\x80');
    EXPECT_EQ (StrnLenS (Wide.data (), Length), Length);
    EXPECT_EQ (AsciiStrnLenS (Narrow.data (), Length), Length);
    Wide.push_back (u'\0');
    Narrow.push_back ('\0');
    for (const UINTN MaxSize : {Length, Length + 1, Length + 2, ~UINTN{0}}) {
      EXPECT_EQ (StrnLenS (Wide.data (), MaxSize), Length);
      EXPECT_EQ (AsciiStrnLenS (Narrow.data (), MaxSize), Length);
    }
    EXPECT_EQ (AsciiStrSize (Narrow.data ()), Length + 1);
  }
  EXPECT_EQ (StrnLenS (nullptr, 5), 0U);
  EXPECT_EQ (AsciiStrnLenS (nullptr, 5), 0U);
  alignas (CHAR16) CHAR8 AtAnOddAddress[] = "-a\0b\0c\0\0";
  EXPECT_EQ (StrnLenS (reinterpret_cast<const CHAR16 *> (AtAnOddAddress + 1), 9), 3U);
}

TEST_F (BaseLib, HoldsAsciiTextToTheLimitOnlyWithADebugService)
{
  static const std::string TooLong (PcdMaximumAsciiStringLength + 1, 'x');
  EXPECT_EQ (AsciiStrLen (TooLong.c_str ()), TooLong.size ());
  InstallDebugService ();
  EXPECT_EQ (AsciiStrLen (TooLong.c_str () + 1), PcdMaximumAsciiStringLength);
  EXPECT_EQ (StoppedAt ([] { (void)AsciiStrLen (TooLong.c_str ()); }),
             "MdePkg/Library/BaseLib/String:647 "
             "Length < _gPcd_FixedAtBuild_PcdMaximumAsciiStringLength");
}

TEST_F (BaseLib, ReadsAndWritesAtEveryAlignment)
{
  for (UINTN Offset = 0; Offset < 8; ++Offset) {
    SCOPED_TRACE (Offset);
    std::array<UINT8, 24> Bytes = {};
    auto *Word = reinterpret_cast<UINT64 *> (Bytes.data () + Offset);
    EXPECT_EQ (WriteUnaligned64 (Word, 0x1122334455667788), 0x1122334455667788U);
    EXPECT_EQ (ReadUnaligned64 (Word), 0x1122334455667788U);
    EXPECT_EQ (ReadUnaligned16 (reinterpret_cast<const UINT16 *> (Word)), 0x7788U);
    EXPECT_EQ (std::count (Bytes.begin (), Bytes.end (), 0), 16);
  }
}

TEST_F (BaseLib, StopsAtEachPreconditionThatFails)
{
  static const auto OddText = reinterpret_cast<const CHAR16 *> (mJumpRoom + 1);
  const auto ExpectStop = [this] (VOID (*Call) (), const std::string &Stop) {
    EXPECT_EQ (StoppedAt (Call), "MdePkg/Library/BaseLib/" + Stop);
  };
  const std::string NotNull = " Buffer != ((void *) 0)";
  const std::string JumpNotNull = "SetJump:28 JumpBuffer != ((void *) 0)";
  const std::string JumpAligned = "SetJump:30 ((UINTN)JumpBuffer & (8 - 1)) == 0";
  InstallDebugService ();
  ExpectStop ([] { (void)AsciiStrSize (nullptr); }, "String:639 String != ((void *) 0)");
  ExpectStop ([] { (void)StrnLenS (OddText, 0); },
              "SafeString:126 ((UINTN)String & 0x00000001) == 0");
  ExpectStop ([] { (void)ReadUnaligned16 (nullptr); }, "Unaligned:30" + NotNull);
  ExpectStop ([] { (void)ReadUnaligned64 (nullptr); }, "Unaligned:184" + NotNull);
  ExpectStop ([] { (void)WriteUnaligned64 (nullptr, 1); }, "Unaligned:211" + NotNull);
  ExpectStop ([] { (void)SetJump (nullptr); }, JumpNotNull);
  ExpectStop ([] { (void)SetJump (JumpBufferAt (1)); }, JumpAligned);
  ExpectStop ([] { LongJump (nullptr, 1); }, JumpNotNull);
  ExpectStop ([] { LongJump (JumpBufferAt (1), 0); }, JumpAligned);
  ExpectStop ([] { LongJump (JumpBufferAt (0), 0); }, "LongJump:35 Value != 0");
}

/// Sets Buffer, jumps back with Value and returns what SetJump returned then.
UINTN
SecondReturnOfSetJump (JumpBuffer *Buffer, UINTN Value)
{
  static volatile bool Jumped;
  Jumped = false;
  const UINTN Returned = SetJump (Buffer);
  if (!Jumped) {
    EXPECT_EQ (Returned, 0U);
    Jumped = true;
    LongJump (Buffer, Value);
  }
  return Returned;
}

TEST_F (BaseLib, JumpsWithWhatItGotWithoutADebugService)
{
  EXPECT_EQ (SecondReturnOfSetJump (JumpBufferAt (0), 0), 0U);
  EXPECT_EQ (SecondReturnOfSetJump (JumpBufferAt (1), 7), 7U);
  EXPECT_EQ (SetJump (nullptr), 0U);
  EXPECT_EQ (StoppedAt ([] { LongJump (nullptr, 1); }), "no assertion");
}

} // namespace
