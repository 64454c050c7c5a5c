#include "BaseMemoryLibOptDxe.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

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
  CheckCopy (16384, 5005, 5005 - 4098, 4099);
  CheckCopy (16384, 5005, 5005 - 4099, 4099);
}

TEST_F (BaseMemoryLibOptDxe, ReadsNothingBehindTheSource)
{
  const auto PageSize = static_cast<UINTN> (sysconf (_SC_PAGESIZE));
  auto *Pages = static_cast<UINT8 *> (
      mmap (nullptr, 2 * PageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_EQ (mprotect (Pages + PageSize, PageSize, PROT_NONE), 0);
  Arena Destination (128);
  for (UINTN Length = 0; Length <= 64; ++Length) {
    for (UINTN Offset = 0; Offset < 16; ++Offset) {
      (void)CopyMem (Destination.At (Offset), Pages + PageSize - Length, Length);
    }
  }
  munmap (Pages, 2 * PageSize);
}

TEST_F (BaseMemoryLibOptDxe, CopiesBlocksPastTheCachesAndGivesBackEveryVectorRegister)
{
  SteppedProcessor Processor;
  Arena Bytes (256);
  const auto Stores = [&] (UINTN To, UINTN From, UINTN Length) {
    const RegisterFile Entry (0x30, {reinterpret_cast<UINT64> (Bytes.At (To)),
                                     reinterpret_cast<UINT64> (Bytes.At (From)), Length});
    const RegisterFile Exit = Processor.Run (CopyMem, Entry);
    EXPECT_EQ (std::memcmp (Entry.Xmm, Exit.Xmm, sizeof (Entry.Xmm)), 0);
    EXPECT_TRUE (HaveSamePreservedRegisters (Exit, Entry));
    return Processor.TakeTranscript ();
  };
  EXPECT_EQ (Stores (64, 131, 16), "movntdq; mfence; ");
  EXPECT_EQ (Stores (61, 128, 3 + 32 + 15), "movntdq; movntdq; mfence; ");
  EXPECT_EQ (Stores (61, 128, 3 + 15), "") << "too few behind the boundary";
  EXPECT_EQ (Stores (64, 67, 32), "movntdq; movntdq; mfence; ") << "source in the destination";
  EXPECT_EQ (Stores (64, 33, 32), "") << "destination at the last source byte";
  EXPECT_EQ (Stores (64, 32, 32), "movntdq; movntdq; mfence; ") << "right behind the source";
  EXPECT_EQ (Stores (64, 64, 32), "") << "onto itself";
}

TEST_F (BaseMemoryLibOptDxe, FillsEverySizeAtEveryAlignment)
{
  Arena Actual (96);
  std::vector<UINT8> Expected = Actual.Storage;
  for (UINTN Case = 0; Case < 64 * 16 * 2; ++Case) {
    const UINTN Offset = Case / 2 % 16, Size = Case / 32 + 1;
    UINT8 *const Buffer = Actual.At (Offset);
    const UINT8 Value = Case % 2 == 0 ? static_cast<UINT8> (0x80 + Size) : 0;
    std::fill_n (&Expected[Actual.Start + Offset], Size, Value);
    EXPECT_EQ (Value != 0 ? SetMem (Buffer, Size, Value) : ZeroMem (Buffer, Size), Buffer);
    ASSERT_EQ (Actual.Storage, Expected) << Size << " bytes at " << Offset;
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
    EXPECT_EQ (CompareGuid (Copy, Original), TRUE);
    for (UINTN Byte = 0; Byte < sizeof (EFI_GUID); ++Byte) {
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
  const std::string SetMemFits = "BaseMemoryLibOptDxe/SetMemWrapper:48 (Length - 1) <= "
                                 "(0xFFFFFFFFFFFFFFFFULL - (UINTN)Buffer)";
  const std::string NotNull = " Buffer != ((void *) 0)";
  const auto ExpectStop = [this] (VOID (*Call) (), const std::string &Stop) {
    EXPECT_EQ (StoppedAt (Call), "MdePkg/Library/" + Stop);
  };
  InstallDebugService ();
  ExpectStop ([] { (void)CopyMem (&Byte, &Byte, LongestRange + 1); },
              "BaseMemoryLibOptDxe/CopyMemWrapper:51 "
              "(Length - 1) <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)DestinationBuffer)");
  ExpectStop ([] { (void)CopyMem (&Byte, Last, 2); },
              "BaseMemoryLibOptDxe/CopyMemWrapper:52 "
              "(Length - 1) <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)SourceBuffer)");
  ExpectStop ([] { (void)ZeroMem (nullptr, 1); },
              "BaseMemoryLibOptDxe/ZeroMemWrapper:47" + NotNull);
  ExpectStop ([] { (void)ZeroMem (Last, 2); },
              "BaseMemoryLibOptDxe/ZeroMemWrapper:48 "
              "Length <= (0xFFFFFFFFFFFFFFFFULL - (UINTN)Buffer + 1)");
  ExpectStop ([] { (void)SetMem (Last, 2, 1); }, SetMemFits);
  ExpectStop ([] { (void)SetMem (&Byte, 0, 1); }, SetMemFits);
  ExpectStop ([] { (void)CopyGuid (nullptr, &Guid); }, "BaseLib/Unaligned:211" + NotNull);
  ExpectStop ([] { (void)CopyGuid (&Guid, nullptr); }, "BaseLib/Unaligned:184" + NotNull);
  ExpectStop ([] { (void)CompareGuid (nullptr, &Guid); }, "BaseLib/Unaligned:184" + NotNull);
  ExpectStop ([] { (void)CompareGuid (&Guid, nullptr); }, "BaseLib/Unaligned:184" + NotNull);
  // An assertion here would throw.
  (void)CopyMem (nullptr, nullptr, 0);
  (void)ZeroMem (nullptr, 0);
  (void)CopyMem (&Byte, &Byte, LongestRange);
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
