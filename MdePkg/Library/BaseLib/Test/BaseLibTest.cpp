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
  for (UINTN Size = 0; Size <= 64; ++Size) {
    std::vector<CHAR16> Wide (Size, u'\x0100');
    std::vector<CHAR8> Narrow (Size, '\x80');
    EXPECT_EQ (StrnLenS (Wide.data (), Size), Size);
    EXPECT_EQ (AsciiStrnLenS (Narrow.data (), Size), Size);
    if (Size != 0) {
      Wide.back () = u'\0';
      Narrow.back () = '\0';
      for (const UINTN MaxSize : {Size - 1, Size, Size + 1, ~UINTN{0}}) {
        EXPECT_EQ (StrnLenS (Wide.data (), MaxSize), Size - 1);
        EXPECT_EQ (AsciiStrnLenS (Narrow.data (), MaxSize), Size - 1);
      }
      EXPECT_EQ (AsciiStrLen (Narrow.data ()), Size - 1);
      EXPECT_EQ (AsciiStrSize (Narrow.data ()), Size);
    }
  }
  EXPECT_EQ (StrnLenS (nullptr, 5), 0U);
  EXPECT_EQ (AsciiStrnLenS (nullptr, 5), 0U);
}

TEST_F (BaseLib, HoldsAsciiTextToTheLimitOnlyWithADebugService)
{
  std::string Text (PcdMaximumAsciiStringLength + 2, 'x');
  EXPECT_EQ (AsciiStrLen (Text.c_str ()), PcdMaximumAsciiStringLength + 2);

  InstallDebugService ();
  Text.resize (PcdMaximumAsciiStringLength + 1);
  EXPECT_EQ (StoppedAt ([&] { (void)AsciiStrLen (Text.c_str ()); }),
             "MdePkg/Library/BaseLib/String:647 "
             "Length < _gPcd_FixedAtBuild_PcdMaximumAsciiStringLength");
  Text.resize (PcdMaximumAsciiStringLength);
  EXPECT_EQ (AsciiStrLen (Text.c_str ()), PcdMaximumAsciiStringLength);
}

TEST_F (BaseLib, ReadsAndWritesAtEveryAlignment)
{
  for (UINTN Offset = 0; Offset < 8; ++Offset) {
    SCOPED_TRACE (Offset);
    std::array<UINT8, 24> Bytes = {};
    const auto Here = Bytes.begin () + Offset;
    auto *Word = reinterpret_cast<UINT64 *> (Bytes.data () + Offset);
    EXPECT_EQ (WriteUnaligned64 (Word, 0x1122334455667788), 0x1122334455667788U);
    EXPECT_EQ (ReadUnaligned64 (Word), 0x1122334455667788U);
    EXPECT_EQ (ReadUnaligned16 (reinterpret_cast<const UINT16 *> (Word)), 0x7788U);
    EXPECT_EQ (Here[7], 0x11);
    EXPECT_EQ (std::count (Bytes.begin (), Bytes.end (), 0), 16);
  }
}

TEST_F (BaseLib, StopsAtEachPreconditionThatFails)
{
  static const CHAR16 OddText[] = u"ab";
  const struct {
    VOID (*Call) ();
    const char *Stop;
  } Rows[] = {
      {[] { (void)AsciiStrLen (nullptr); }, "String:639 String != ((void *) 0)"},
      {[] { (void)AsciiStrSize (nullptr); }, "String:639 String != ((void *) 0)"},
      {[] {
         (void)StrnLenS (reinterpret_cast<const CHAR16 *> (reinterpret_cast<UINTN> (OddText) + 1),
                         0);
       },
       "SafeString:126 ((UINTN)String & 0x00000001) == 0"},
      {[] { (void)ReadUnaligned16 (nullptr); }, "Unaligned:30 Buffer != ((void *) 0)"},
      {[] { (void)ReadUnaligned64 (nullptr); }, "Unaligned:184 Buffer != ((void *) 0)"},
      {[] { (void)WriteUnaligned64 (nullptr, 1); }, "Unaligned:211 Buffer != ((void *) 0)"},
      {[] { (void)SetJump (nullptr); }, "SetJump:28 JumpBuffer != ((void *) 0)"},
      {[] { (void)SetJump (JumpBufferAt (1)); }, "SetJump:30 ((UINTN)JumpBuffer & (8 - 1)) == 0"},
      {[] { LongJump (nullptr, 1); }, "SetJump:28 JumpBuffer != ((void *) 0)"},
      {[] { LongJump (JumpBufferAt (1), 0); }, "SetJump:30 ((UINTN)JumpBuffer & (8 - 1)) == 0"},
      {[] { LongJump (JumpBufferAt (0), 0); }, "LongJump:35 Value != 0"},
  };
  InstallDebugService ();
  for (const auto &Row : Rows) {
    EXPECT_EQ (StoppedAt (Row.Call), std::string ("MdePkg/Library/BaseLib/") + Row.Stop);
  }
}

TEST_F (BaseLib, CountsTextAtAnOddAddressWithoutADebugService)
{
  alignas (CHAR16) CHAR8 Bytes[] = "-a\0b\0c\0\0";
  EXPECT_EQ (StrnLenS (reinterpret_cast<const CHAR16 *> (Bytes + 1), 9), 3U);
}

/// Sets Buffer, jumps back with Value and returns what SetJump returned then.
UINTN
SecondReturnOfSetJump (JumpBuffer *Buffer, UINTN Value)
{
  static volatile UINTN Calls;
  Calls = 0;
  const UINTN Returned = SetJump (Buffer);
  Calls = Calls + 1;
  if (Calls == 1) {
    EXPECT_EQ (Returned, 0U);
    LongJump (Buffer, Value);
  }
  return Returned;
}

TEST_F (BaseLib, ComesBackFromSetJumpWithTheValueOfLongJump)
{
  for (const bool WithService : {false, true}) {
    if (WithService) {
      InstallDebugService ();
    }
    for (const UINTN Value : {UINTN{1}, UINTN{0x8000000000000002}, ~UINTN{0}}) {
      EXPECT_EQ (SecondReturnOfSetJump (JumpBufferAt (0), Value), Value);
      EXPECT_EQ (JumpBufferAt (0)->Ssp + 0, 0U);
    }
  }
}

TEST_F (BaseLib, JumpsWithWhatItGotWithoutADebugService)
{
  EXPECT_EQ (SecondReturnOfSetJump (JumpBufferAt (0), 0), 0U);
  EXPECT_EQ (SecondReturnOfSetJump (JumpBufferAt (1), 7), 7U);
  EXPECT_EQ (SetJump (nullptr), 0U);
  EXPECT_EQ (StoppedAt ([] { LongJump (nullptr, 1); }), "no assertion");
}

} // namespace
