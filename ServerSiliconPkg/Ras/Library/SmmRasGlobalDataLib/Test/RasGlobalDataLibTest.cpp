#include "SmmRasGlobalDataLib.h"

#include <algorithm>
#include <cstring>

#include "FirmwareTestBench.h"
#include "Record/RasGlobalData.h"
#include "SmmMemoryAllocationLib.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"
#include "VariablePolicy.h"
#include "VariableStore.h"

namespace {

constexpr CHAR16 Name[] = u"Some";
constexpr UINTN Size = 40;
const std::string SourceFile = "ServerSiliconPkg/Ras/Library/SmmRasGlobalDataLib/RasGlobalDataLib:";

/// The two lookups: in SMM pool, and of a memory type.
using Lookup = VOID *(*)(UINTN Bytes, BOOLEAN *NewBuffer);
constexpr Lookup Find[] = {
    [] (UINTN Bytes, BOOLEAN *NewBuffer) { return GetRasGlobalData (Name, Bytes, NewBuffer); },
    [] (UINTN Bytes, BOOLEAN *NewBuffer) {
      return GetRasGlobalDataMemoryType (Name, Bytes, EfiLoaderData, NewBuffer);
    }};
constexpr PoolKind Kinds[] = {PoolSmm, PoolBoot};
constexpr EFI_MEMORY_TYPE Types[] = {EfiRuntimeServicesData, EfiLoaderData};

class RasGlobalData : public FirmwareTestBench {
public:
  /// A new boot, in which this driver is the first.
  void
  Boot ()
  {
    PowerOn ();
    World.Log.clear ();
    SmmMemoryAllocationLibConstructor (nullptr, nullptr);
    EXPECT_EQ (InitializeSmmRasGlobalData (nullptr, nullptr), EFI_SUCCESS);
  }

  static const Variable *
  Entry ()
  {
    return VariableFind (Name, &gRasGlobalDataVariableGuid);
  }

  static bool
  IsLocked ()
  {
    return VariablePolicyLocks (Name, &gRasGlobalDataVariableGuid);
  }
};

TEST_F (RasGlobalData, MakesABufferOnceAndFindsItByOneReadFromThenOn)
{
  for (const UINTN Which : {0U, 1U}) {
    SCOPED_TRACE (Which);
    Boot ();
    BOOLEAN NewBuffer = FALSE;
    auto *Buffer = static_cast<UINT8 *> (Find[Which](Size, &NewBuffer));
    EXPECT_EQ (NewBuffer, TRUE);
    EXPECT_EQ (std::count (Buffer, Buffer + Size, 0), 40);
    const Pool &From = gPools[Kinds[Which]];
    EXPECT_TRUE (std::any_of (From.Blocks, From.Blocks + PoolBlockMax, [&] (const auto &Block) {
      return Block.Address == Buffer && Block.Size == Size && Block.Type == Types[Which];
    }));
    EXPECT_EQ (Entry ()->Attributes, 2U);
    EXPECT_EQ (Entry ()->DataSize, 8U);
    EXPECT_EQ (std::memcmp (Entry ()->Data, &Buffer, 8), 0);
    EXPECT_TRUE (IsLocked ());

    const UINTN Calls = gFaultPlan.AllCalls;
    EXPECT_EQ (Find[Which](Size + 1, &NewBuffer), Buffer) << "the size does not matter";
    EXPECT_EQ (NewBuffer, FALSE);
    EXPECT_EQ (Find[Which](Size, nullptr), Buffer);
    EXPECT_EQ (gFaultPlan.AllCalls, Calls + 2);
  }
}

TEST_F (RasGlobalData, IsNothingWhereTheEntryHoldsNoAddress)
{
  const struct {
    std::vector<UINT64> Entry;
    std::string Stopped[2]; ///< By lookup.
  } Rows[] = {{{0}, {"137 Data != ((void *) 0)", "228 Data != ((void *) 0)"}},
              {{1, 2}, {"145 ((BOOLEAN)(0==1))", "236 ((BOOLEAN)(0==1))"}}};
  for (const bool Stops : {false, true}) {
    for (const auto &Row : Rows) {
      for (const UINTN Which : {0U, 1U}) {
        SCOPED_TRACE (Row.Stopped[Which]);
        Boot ();
        gSmmVariable.SmmSetVariable (Name, &gRasGlobalDataVariableGuid, RAS_GLOBAL_DATA_ATTRIBUTES,
                                     Row.Entry.size () * 8, Row.Entry.data ());
        BOOLEAN NewBuffer = TRUE;
        EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (Find[Which](Size, &NewBuffer), nullptr); }),
                   Stops ? SourceFile + Row.Stopped[Which] : "");
        EXPECT_EQ (NewBuffer, Stops);
      }
    }
    InstallDebugService ();
  }
}

TEST_F (RasGlobalData, PublishesNothingWithoutAPool)
{
  Boot ();
  gSmst->SmmAllocatePool = GivesNothing;
  gBS->AllocatePool = GivesNothing;
  EXPECT_EQ (Find[0](Size, nullptr), nullptr);
  EXPECT_EQ (Find[1](Size, nullptr), nullptr);
  EXPECT_EQ (Entry (), nullptr);
  gBS = nullptr;
  EXPECT_EQ (Find[1](Size, nullptr), nullptr);
}

} // namespace
