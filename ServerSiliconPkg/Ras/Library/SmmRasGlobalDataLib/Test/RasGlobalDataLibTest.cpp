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
const std::string OnStatus = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";

/// The two lookups: in SMM pool, and of a memory type.
using Lookup = VOID *(*)(UINTN Bytes, BOOLEAN *NewBuffer);
constexpr Lookup Find[] = {
    [] (UINTN Bytes, BOOLEAN *NewBuffer) { return GetRasGlobalData (Name, Bytes, NewBuffer); },
    [] (UINTN Bytes, BOOLEAN *NewBuffer) {
      return GetRasGlobalDataMemoryType (Name, Bytes, EfiLoaderData, NewBuffer);
    }};
constexpr PoolKind Kinds[] = {PoolSmm, PoolBoot};
constexpr EFI_MEMORY_TYPE Types[] = {EfiRuntimeServicesData, EfiLoaderData};
constexpr FirmwareService Allocations[] = {ServiceSmmAllocatePool, ServiceBootAllocatePool};

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

TEST_F (RasGlobalData, ReportsWhatItCannotFindOrPublish)
{
  // By lookup.
  const std::string Lock = ": RegisterBasicVariablePolicy for Some failed! Device Error\n";
  const std::string Write =
      ": set variable gRasGlobalDataVariableGuid failed, Status=Device Error\n";
  const std::string Asserted = "\nASSERT_EFI_ERROR (Status = Device Error)\n";
  const std::string Silent[2] = {};
  const std::string NoMemory[2] = {"Failed to allocate SMM pool!\n",
                                   "Failed to allocate pool for MemoryType 2!\n"};
  const std::string NotWritten[2] = {"GetRasGlobalData" + Write + Asserted, Asserted};
  const std::string NotLocked[2] = {"GetRasGlobalData" + Lock + Asserted,
                                    "GetRasGlobalDataMemoryType" + Lock + Asserted};
  const std::string Nowhere[2] = {};
  const std::string AtNull[2] = {"137 Data != ((void *) 0)", "228 Data != ((void *) 0)"};
  const std::string AtRead[2] = {"145 ((BOOLEAN)(0==1))", "236 ((BOOLEAN)(0==1))"};
  const std::string AtWrite[2] = {"168" + OnStatus, "260" + OnStatus};
  const std::string AtLock[2] = {"177" + OnStatus, "269" + OnStatus};
  const struct {
    std::vector<UINT64> Entry; ///< What the store holds already.
    UINTN Fails; ///< The service that fails, if there is no entry; its count for an allocation.
    const std::string *Messages, *Stopped;
    std::string Outcome; ///< Where the assertion returns: what there is afterwards.
  } Rows[] = {
      {{0}, 0, Silent, AtNull, " entry"},
      {{1, 2}, 0, Silent, AtRead, " entry"},
      {{}, ServiceGetVariable, Silent, AtRead, ""},
      {{}, FirmwareServiceCount, NoMemory, Nowhere, ""},
      {{}, ServiceSetVariable, NotWritten, AtWrite, "buffer locked"},
      {{}, ServiceRegisterPolicy, NotLocked, AtLock, "buffer entry"},
  };
  for (const UINTN Run : {0U, 1U, 2U, 3U}) {
    const UINTN Which = Run % 2;
    if (Run == 2) {
      InstallDebugService ();
    }
    for (const auto &Row : Rows) {
      SCOPED_TRACE (testing::Message () << "row " << &Row - Rows << ", run " << Run);
      Boot ();
      if (!Row.Entry.empty ()) {
        gSmmVariable.SmmSetVariable (Name, &gRasGlobalDataVariableGuid, RAS_GLOBAL_DATA_ATTRIBUTES,
                                     Row.Entry.size () * 8, Row.Entry.data ());
      } else {
        const bool IsOwn = Row.Fails == FirmwareServiceCount;
        const auto Fails = IsOwn ? Allocations[Which] : static_cast<FirmwareService> (Row.Fails);
        FaultPlanFail (Fails, 1, EFI_DEVICE_ERROR);
      }
      BOOLEAN NewBuffer = FALSE;
      VOID *Buffer = nullptr;
      const std::string Stopped = StoppedAt ([&] { Buffer = Find[Which](Size, &NewBuffer); });
      if (Run >= 2) {
        const std::string &Expected = Row.Stopped[Which];
        EXPECT_EQ (Stopped, Expected.empty () ? "" : SourceFile + Expected);
        EXPECT_EQ (Messages (), Row.Messages[Which]);
        continue;
      }
      EXPECT_EQ (std::string (Buffer != nullptr ? "buffer" : "") + (Entry () ? " entry" : "") +
                     (IsLocked () ? " locked" : ""),
                 Row.Outcome);
      EXPECT_EQ (NewBuffer != FALSE, Buffer != nullptr);
    }
  }
}

TEST_F (RasGlobalData, PublishesNothingWhereAPoolGivesNothing)
{
  Boot ();
  gSmst->SmmAllocatePool = GivesNothing;
  gBS->AllocatePool = GivesNothing;
  EXPECT_EQ (Find[0](Size, nullptr), nullptr);
  EXPECT_EQ (Find[1](Size, nullptr), nullptr);
  EXPECT_EQ (Entry (), nullptr);
}

TEST_F (RasGlobalData, ReportsAServiceThatIsNotThere)
{
  BOOLEAN NewBuffer = TRUE;
  EXPECT_EQ (GetRasGlobalData (Name, Size, &NewBuffer), nullptr) << "nothing is bound";
  EXPECT_EQ (NewBuffer, FALSE);

  const std::string NotFound =
      " failed, Status=Not Found\n\nASSERT_EFI_ERROR (Status = Not Found)\n";
  const struct {
    ProtocolSpace Space;
    const EFI_GUID *Protocol;
    bool IsThere; ///< But without an interface.
    std::string Message, Stopped;
  } Rows[] = {
      {ProtocolSmm, &gEfiSmmVariableProtocolGuid, false,
       "Locate gEfiSmmVariableProtocolGuid" + NotFound, "60" + OnStatus},
      {ProtocolSmm, &gEfiSmmVariableProtocolGuid, true, "failed to locate mSmmVariableProtocol\n",
       "66 mSmmVariableProtocol != ((void *) 0)"},
      {ProtocolBoot, &gEdkiiVariablePolicyProtocolGuid, false,
       "Locate gEdkiiVariablePolicyProtocolGuid" + NotFound, "77" + OnStatus},
      {ProtocolBoot, &gEdkiiVariablePolicyProtocolGuid, true, "failed to locate mVariablePolicy\n",
       "83 mVariablePolicy != ((void *) 0)"},
  };
  for (const bool Stops : {false, true}) {
    for (const auto &Row : Rows) {
      Boot ();
      ProtocolRemove (Row.Space, Row.Protocol);
      if (Row.IsThere) {
        ProtocolPublish (Row.Space, Row.Protocol, nullptr);
      }
      EFI_STATUS Status = EFI_NOT_FOUND;
      EXPECT_EQ (StoppedAt ([&] { Status = InitializeSmmRasGlobalData (nullptr, nullptr); }),
                 Stops ? SourceFile + Row.Stopped : "");
      EXPECT_EQ (Status, EFI_NOT_FOUND);
      EXPECT_EQ (Messages (), Stops ? "InitializeSmmRasGlobalData: " + Row.Message : "");
    }
    InstallDebugService ();
  }
}

} // namespace
