#include "BaseMemoryLibOptDxe.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

#include "BaseMemoryLibOptDxeInternal.h"
#include "ModuleTestBench.h"
#include "SteppedProcessor.h"

namespace {

using BaseMemoryLibOptDxe = ModuleTestBench;

/// Bytes from a 16-byte boundary on, each different from its neighbours.
struct Arena {
  explicit Arena (UINTN Size) : Storage (Size + 15)
  {
    Start = -reinterpret_cast<UINTN> (Storage.data ()) % 16;
    for (UINTN Index = 0; Index < Storage.size (); ++Index) {
      Storage[Index] = static_cast<UINT8> (Index * 7 + Index / 256 + 1);
    }
  }

  UINT8 *
  At (UINTN Offset)
  {
    return Storage.data () + Start + Offset;
  }

  std::vector<UINT8> Storage;
  UINTN Start;
};

/// Copies inside an arena and compares all of it with what a copy through a second buffer leaves.
void
CheckCopy (UINTN ArenaSize, UINTN To, UINTN From, UINTN Length)
{
  Arena Actual (ArenaSize);
  std::vector<UINT8> Expected = Actual.Storage;
  std::copy_n (Actual.At (From), Length, &Expected[Actual.Start + To]);
  EXPECT_EQ (CopyMem (Actual.At (To), Actual.At (From), Length), Actual.At (To));
  EXPECT_EQ (Actual.Storage, Expected) << Length << " bytes from " << From << " to " << To;
}

TEST_F (BaseMemoryLibOptDxe, CopiesEverySizeAtEveryAlignmentAndOverlap)
{
  constexpr UINTN Middle = 80;
  for (UINTN Length = 0; Length <= 64; ++Length) {
    for (UINTN To = Middle; To < Middle + 16; ++To) {
      for (UINTN From = To - Middle; From <= To + Middle; ++From) {
        CheckCopy (256, To, From, Length);
      }
    }
  }
  for (const UINTN Length : {255U, 256U, 4099U}) {
    for (const UINTN To : {5000U, 5005U}) {
      for (const UINTN Distance : {1U, 15U, 16U, 17U, 254U, 4098U, 4099U, 5000U}) {
        CheckCopy (16384, To, To - Distance, Length);
        CheckCopy (16384, To, To + Distance, Length);
      }
    }
  }
}

TEST_F (BaseMemoryLibOptDxe, ReadsNothingBehindTheSource)
{
  const auto PageSize = static_cast<UINTN> (sysconf (_SC_PAGESIZE));
  auto *Pages = static_cast<UINT8 *> (
      mmap (nullptr, 2 * PageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE (Pages, MAP_FAILED);
  ASSERT_EQ (mprotect (Pages + PageSize, PageSize, PROT_NONE), 0);
  Arena Destination (128);
  for (UINTN Length = 0; Length <= 64; ++Length) {
    for (UINTN Offset = 0; Offset < 16; ++Offset) {
      const UINT8 *Source = Pages + PageSize - Length;
      (void)CopyMem (Destination.At (Offset), Source, Length);
      EXPECT_TRUE (std::equal (Source, Source + Length, Destination.At (Offset)));
    }
  }
  munmap (Pages, 2 * PageSize);
}

TEST_F (BaseMemoryLibOptDxe, CopiesBlocksPastTheCachesOnlyToAnAlignedDestination)
{
  const struct {
    const char *Name;
    UINTN To;
    UINTN From;
    UINTN Length;
    const char *Transcript;
  } Rows[] = {
      {"one block and no byte", 64, 131, 16, "movntdq; mfence; "},
      {"bytes, blocks, one fence, bytes", 61, 128, 3 + 32 + 15, "movntdq; movntdq; mfence; "},
      {"short of the boundary", 61, 128, 2, ""},
      {"too few behind the boundary", 61, 128, 3 + 15, ""},
      {"source in the destination", 64, 67, 32, "movntdq; movntdq; mfence; "},
      {"destination in the source", 64, 48, 32, ""},
      {"destination at the last source byte", 64, 33, 32, ""},
      {"destination right behind the source", 64, 32, 32, "movntdq; movntdq; mfence; "},
      {"onto itself", 64, 64, 32, ""},
  };
  SteppedProcessor Processor;
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    Arena Bytes (256);
    const auto To = reinterpret_cast<UINT64> (Bytes.At (Row.To));
    const auto From = reinterpret_cast<UINT64> (Bytes.At (Row.From));
    (void)Processor.Run (CopyMem, RegisterFile (0x30, {To, From, Row.Length}));
    EXPECT_EQ (Processor.TakeTranscript (), Row.Transcript);
  }
}

TEST_F (BaseMemoryLibOptDxe, GivesBackEveryVectorRegister)
{
  Arena Bytes (256);
  const RegisterFile Entry (0x30, {reinterpret_cast<UINT64> (Bytes.At (0)),
                                   reinterpret_cast<UINT64> (Bytes.At (131)), 3});
  const RegisterFile Exit = SteppedProcessor ().Run (InternalMemCopyBlocks, Entry);
  EXPECT_TRUE (std::equal (Bytes.At (0), Bytes.At (48), Bytes.At (131)));
  EXPECT_EQ (std::memcmp (Entry.Xmm, Exit.Xmm, sizeof (Entry.Xmm)), 0);
  EXPECT_TRUE (HaveSamePreservedRegisters (Exit, Entry));
}

TEST_F (BaseMemoryLibOptDxe, FillsEverySizeAtEveryAlignment)
{
  for (UINTN Length = 1; Length <= 65; ++Length) {
    for (UINTN Offset = 0; Offset < 16; ++Offset) {
      for (const int Value : {0x00, 0x80, 0xFF}) {
        const UINTN Size = Length <= 64 ? Length : 0xC80;
        Arena Actual (Size + 32);
        std::vector<UINT8> Expected = Actual.Storage;
        std::memset (&Expected[Actual.Start + Offset], Value, Size);
        UINT8 *const Buffer = Actual.At (Offset);
        EXPECT_EQ (Value == 0 ? ZeroMem (Buffer, Size)
                              : SetMem (Buffer, Size, static_cast<UINT8> (Value)),
                   Buffer);
        EXPECT_EQ (Actual.Storage, Expected) << Size << " bytes at " << Offset;
      }
    }
  }
}

TEST_F (BaseMemoryLibOptDxe, CopiesAndComparesGuidsAtEveryAddress)
{
  for (UINTN Offset = 0; Offset < 8; ++Offset) {
    Arena Bytes (64);
    std::vector<UINT8> Expected = Bytes.Storage;
    std::copy_n (Bytes.At (29), sizeof (EFI_GUID), &Expected[Bytes.Start + Offset]);
    auto *Copy = reinterpret_cast<EFI_GUID *> (Bytes.At (Offset));
    const auto *Original = reinterpret_cast<const EFI_GUID *> (Bytes.At (29));
    EXPECT_EQ (CopyGuid (Copy, Original), Copy);
    EXPECT_EQ (Bytes.Storage, Expected);
    for (UINTN Byte = 0; Byte < sizeof (EFI_GUID); ++Byte) {
      EXPECT_EQ (CompareGuid (Copy, Original), TRUE);
      *Bytes.At (Offset + Byte) ^= 0x80;
      EXPECT_EQ (CompareGuid (Copy, Original), FALSE);
      *Bytes.At (Offset + Byte) ^= 0x80;
    }
  }
}

TEST_F (BaseMemoryLibOptDxe, StopsAtEachPreconditionThatFails)
{
  static UINT8 Byte = 0;
  static EFI_GUID Guid = {};
  static const UINTN LongestRange = -reinterpret_cast<UINTN> (&Byte);
  static VOID *const Last = reinterpret_cast<VOID *> (~UINTN{0});
  constexpr char Fits[] = "(Length - 1) <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)";
  constexpr char MemLib[] = "MdePkg/Library/BaseMemoryLibOptDxe/";
  constexpr char Unaligned[] = "MdePkg/Library/BaseLib/Unaligned:";
  constexpr char NotNull[] = " Buffer != ((void *) 0)";
  const std::string CopyMemTo = std::string (MemLib) + "CopyMemWrapper:51 " + Fits;
  const std::string CopyMemFrom = std::string (MemLib) + "CopyMemWrapper:52 " + Fits;
  const std::string SetMemFits = std::string (MemLib) + "SetMemWrapper:48 " + Fits + "Buffer)";
  const std::string ZeroMemAt = std::string (MemLib) + "ZeroMemWrapper:";
  const std::string ReadNotNull = std::string (Unaligned) + "184" + NotNull;
  const std::string WriteNotNull = std::string (Unaligned) + "211" + NotNull;
  const struct {
    VOID (*Call) ();
    std::string Stop;
  } Rows[] = {
      {[] { (void)CopyMem (nullptr, nullptr, 0); }, ""},
      {[] { (void)ZeroMem (nullptr, 0); }, ""},
      {[] { (void)CopyMem (&Byte, &Byte, LongestRange); }, ""},
      {[] { (void)CopyMem (&Byte, &Byte, LongestRange + 1); }, CopyMemTo + "DestinationBuffer)"},
      {[] { (void)CopyMem (&Byte, Last, 2); }, CopyMemFrom + "SourceBuffer)"},
      {[] { (void)ZeroMem (nullptr, 1); }, ZeroMemAt + "47" + NotNull},
      {[] { (void)ZeroMem (Last, 2); },
       ZeroMemAt + "48 Length <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)Buffer + 1)"},
      {[] { (void)SetMem (Last, 2, 1); }, SetMemFits},
      {[] { (void)SetMem (&Byte, 0, 1); }, SetMemFits},
      {[] { (void)CopyGuid (nullptr, &Guid); }, WriteNotNull},
      {[] { (void)CopyGuid (&Guid, nullptr); }, ReadNotNull},
      {[] { (void)CompareGuid (nullptr, &Guid); }, ReadNotNull},
      {[] { (void)CompareGuid (&Guid, nullptr); }, ReadNotNull},
  };
  InstallDebugService ();
  for (const auto &Row : Rows) {
    EXPECT_EQ (StoppedAt (Row.Call), Row.Stop);
  }
}

TEST_F (BaseMemoryLibOptDxe, GoesOnBehindAFailedPreconditionWithoutADebugService)
{
  UINT8 Byte = 0x5A;
  EXPECT_EQ (SetMem (&Byte, 0, 1), &Byte);
  EXPECT_EQ (CopyMem (&Byte, &Byte, ~UINTN{0}), &Byte);
  EXPECT_EQ (Byte, 0x5A);
  // A process has nothing at address 0: that the operation writes there ends it.
  EXPECT_DEATH ((void)ZeroMem (nullptr, 1), "");
}

} // namespace
