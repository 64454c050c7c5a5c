#include "SmmRasGlobalDataLib.h"

#include <algorithm>
#include <cstring>

#include "FirmwareTestBench.h"
#include "Record/RasGlobalData.h"
#include "SmmMemoryAllocationLib.h"
#include "VariablePolicy.h"
#include "VariableStore.h"

namespace {

constexpr CHAR16 Name[] = u"Some";
constexpr UINTN Size = 40;
const std::string SourceFile = "ServerSiliconPkg/Ras/Library/SmmRasGlobalDataLib/RasGlobalDataLib:";

/// The two lookups, and what sets them apart.
const struct LookupKind {
  std::string Function;
  VOID *(*Find) (UINTN Size, BOOLEAN *NewBuffer);
  PoolKind Kind;
  EFI_MEMORY_TYPE Type;
  FirmwareService Allocates;
  std::string AllocationMessage;
  std::string WriteMessage;
  std::string NullEntryLine, UnreadableLine, UnwrittenLine, UnlockedLine;
} Lookups[] = {
    {"GetRasGlobalData",
     [] (UINTN Bytes, BOOLEAN *NewBuffer) { return GetRasGlobalData (Name, Bytes, NewBuffer); },
     PoolSmm, EfiRuntimeServicesData, ServiceSmmAllocatePool, "Failed to allocate SMM pool!\n",
     "GetRasGlobalData: set variable gRasGlobalDataVariableGuid failed, Status=Device Error\n",
     "137", "145", "168", "177"},
    {"GetRasGlobalDataMemoryType",
     [] (UINTN Bytes, BOOLEAN *NewBuffer) {
       return GetRasGlobalDataMemoryType (Name, Bytes, EfiLoaderData, NewBuffer);
     },
     PoolBoot, EfiLoaderData, ServiceBootAllocatePool,
     "Failed to allocate pool for MemoryType 2!\n", "", "228", "236", "260", "269"},
};

class RasGlobalData : public FirmwareTestBench {
public:
  /// A new boot, in which this driver is the first.
  void
  Boot ()
  {
    PowerOn ();
    World.Log.clear ();
    SmmMemoryAllocationLibConstructor (nullptr, nullptr);
    EXPECT_EQ (Construct (), EFI_SUCCESS);
  }

  static EFI_STATUS
  Construct ()
  {
    return InitializeSmmRasGlobalData (nullptr, nullptr);
  }

  /// What the entry of the store holds, as a driver would set it.
  static void
  Publish (const void *Value, UINTN ValueSize)
  {
    EXPECT_EQ (gSmmVariable.SmmSetVariable (Name, &gRasGlobalDataVariableGuid,
                                            RAS_GLOBAL_DATA_ATTRIBUTES, ValueSize, Value),
               EFI_SUCCESS);
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

TEST_F (RasGlobalData, PublishesTheAddressOfANewBufferAndLocksIt)
{
  for (const LookupKind &Lookup : Lookups) {
    SCOPED_TRACE (Lookup.Function);
    Boot ();
    BOOLEAN NewBuffer = FALSE;
    auto *Buffer = static_cast<UINT8 *> (Lookup.Find (Size, &NewBuffer));
    EXPECT_EQ (NewBuffer, TRUE);
    EXPECT_TRUE (std::all_of (Buffer, Buffer + Size, [] (UINT8 Byte) { return Byte == 0; }));

    const Pool &From = gPools[Lookup.Kind];
    const PoolBlock &Block =
        *std::find_if (From.Blocks, From.Blocks + PoolBlockMax,
                       [&] (const PoolBlock &Each) { return Each.Address == Buffer; });
    EXPECT_EQ (Block.Size, Size);
    EXPECT_EQ (Block.Type, Lookup.Type);

    ASSERT_NE (Entry (), nullptr);
    EXPECT_EQ (Entry ()->Attributes, 2U);
    EXPECT_EQ (Entry ()->DataSize, 8U);
    EXPECT_EQ (std::memcmp (Entry ()->Data, &Buffer, 8), 0);
    EXPECT_TRUE (IsLocked ());
    EXPECT_EQ (Messages (), "");
  }
}

TEST_F (RasGlobalData, FindsAnExistingBufferByOneReadAndNothingElse)
{
  for (const LookupKind &Lookup : Lookups) {
    SCOPED_TRACE (Lookup.Function);
    Boot ();
    VOID *Buffer = Lookup.Find (Size, nullptr); // The flag is optional.
    ASSERT_NE (Buffer, nullptr);

    const UINTN Calls = gFaultPlan.AllCalls;
    const UINTN Reads = gFaultPlan.Calls[ServiceGetVariable];
    BOOLEAN NewBuffer = TRUE;
    EXPECT_EQ (Lookup.Find (Size + 1, &NewBuffer), Buffer) << "the size does not matter";
    EXPECT_EQ (NewBuffer, FALSE);
    EXPECT_EQ (gFaultPlan.Calls[ServiceGetVariable], Reads + 1);
    EXPECT_EQ (gFaultPlan.AllCalls, Calls + 1);
  }
}

TEST_F (RasGlobalData, ReportsWhatItCannotFindOrPublish)
{
  struct Case {
    const char *Name;
    void (*Prepare) (const LookupKind &);
    std::string (*Message) (const LookupKind &);
    std::string LookupKind::*Line; ///< Of the assertion; null without one.
    const char *Text;
    bool HasBuffer, HasEntry, IsLocked;
  };
  const char *OnStatus = "!(((INTN)(RETURN_STATUS)(Status)) < 0)";
  const auto NoMessage = [] (const LookupKind &) { return std::string (); };
  const Case Cases[] = {
      {"null entry",
       [] (const LookupKind &) {
         VOID *Null = nullptr;
         Publish (&Null, sizeof Null);
       },
       NoMessage, &LookupKind::NullEntryLine, "Data != ((void *) 0)", false, true, false},
      {"long entry",
       [] (const LookupKind &) {
         constexpr UINT64 Long[] = {1, 2};
         Publish (Long, sizeof Long);
       },
       NoMessage, &LookupKind::UnreadableLine, "((BOOLEAN)(0==1))", false, true, false},
      {"read", [] (const LookupKind &) { FaultPlanFail (ServiceGetVariable, 1, EFI_DEVICE_ERROR); },
       NoMessage, &LookupKind::UnreadableLine, "((BOOLEAN)(0==1))", false, false, false},
      {"allocation",
       [] (const LookupKind &Lookup) { FaultPlanFail (Lookup.Allocates, 1, EFI_OUT_OF_RESOURCES); },
       [] (const LookupKind &Lookup) { return Lookup.AllocationMessage; }, nullptr, "", false,
       false, false},
      {"write",
       [] (const LookupKind &) { FaultPlanFail (ServiceSetVariable, 1, EFI_DEVICE_ERROR); },
       [] (const LookupKind &Lookup) {
         return Lookup.WriteMessage + "\nASSERT_EFI_ERROR (Status = Device Error)\n";
       },
       &LookupKind::UnwrittenLine, OnStatus, true, false, true},
      {"lock", [] (const LookupKind &) { FaultPlanFail (ServiceRegisterPolicy, 1, EFI_NOT_READY); },
       [] (const LookupKind &Lookup) {
         return Lookup.Function + ": RegisterBasicVariablePolicy for Some failed! Not Ready\n" +
                "\nASSERT_EFI_ERROR (Status = Not Ready)\n";
       },
       &LookupKind::UnlockedLine, OnStatus, true, true, false},
  };
  for (const bool Stops : {false, true}) {
    if (Stops) {
      InstallDebugService ();
    }
    for (const LookupKind &Lookup : Lookups) {
      for (const Case &Each : Cases) {
        SCOPED_TRACE (Lookup.Function + ", " + Each.Name);
        Boot ();
        Each.Prepare (Lookup);
        BOOLEAN NewBuffer = 7;
        VOID *Buffer = nullptr;
        const std::string Stopped = StoppedAt ([&] { Buffer = Lookup.Find (Size, &NewBuffer); });
        if (Stops) {
          EXPECT_EQ (Stopped,
                     Each.Line != nullptr ? SourceFile + Lookup.*Each.Line + " " + Each.Text : "");
          EXPECT_EQ (Messages (), Each.Message (Lookup));
          continue;
        }
        EXPECT_EQ (Stopped, "");
        EXPECT_EQ (Buffer != nullptr, Each.HasBuffer);
        EXPECT_EQ (NewBuffer, Each.HasBuffer ? TRUE : FALSE);
        EXPECT_EQ (Entry () != nullptr, Each.HasEntry);
        EXPECT_EQ (IsLocked (), Each.IsLocked);
      }
    }
  }
}

TEST_F (RasGlobalData, StopsAtAMissingService)
{
  struct Case {
    const char *Name;
    ProtocolSpace Space;
    const EFI_GUID *Protocol;
    bool Installed; ///< Without an interface.
    std::string Message;
    std::string Stopped;
  };
  const std::string OnStatus = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";
  const std::string StatusMessage = "\n\nASSERT_EFI_ERROR (Status = Not Found)\n";
  const std::string Head = "InitializeSmmRasGlobalData: ";
  const Case Cases[] = {
      {"no variables", ProtocolSmm, &gEfiSmmVariableProtocolGuid, false,
       Head + "Locate gEfiSmmVariableProtocolGuid failed, Status=Not Found" + StatusMessage,
       SourceFile + "60" + OnStatus},
      {"null variables", ProtocolSmm, &gEfiSmmVariableProtocolGuid, true,
       Head + "failed to locate mSmmVariableProtocol\n",
       SourceFile + "66 mSmmVariableProtocol != ((void *) 0)"},
      {"no policies", ProtocolBoot, &gEdkiiVariablePolicyProtocolGuid, false,
       Head + "Locate gEdkiiVariablePolicyProtocolGuid failed, Status=Not Found" + StatusMessage,
       SourceFile + "77" + OnStatus},
      {"null policies", ProtocolBoot, &gEdkiiVariablePolicyProtocolGuid, true,
       Head + "failed to locate mVariablePolicy\n",
       SourceFile + "83 mVariablePolicy != ((void *) 0)"},
  };
  for (const bool Stops : {false, true}) {
    if (Stops) {
      InstallDebugService ();
    }
    for (const Case &Each : Cases) {
      SCOPED_TRACE (Each.Name);
      Boot ();
      ProtocolRemove (Each.Space, Each.Protocol);
      if (Each.Installed) {
        ProtocolPublish (Each.Space, Each.Protocol, nullptr);
      }
      EFI_STATUS Status = EFI_NOT_FOUND;
      EXPECT_EQ (StoppedAt ([&] { Status = Construct (); }), Stops ? Each.Stopped : "");
      EXPECT_EQ (Status, EFI_NOT_FOUND);
      EXPECT_EQ (Messages (), Stops ? Each.Message : "");
    }
  }
}

TEST_F (RasGlobalData, HasNoBuffersWhileNothingIsBound)
{
  for (const LookupKind &Lookup : Lookups) {
    SCOPED_TRACE (Lookup.Function);
    BOOLEAN NewBuffer = TRUE;
    EXPECT_EQ (Lookup.Find (Size, &NewBuffer), nullptr);
    EXPECT_EQ (NewBuffer, FALSE);
  }
}

} // namespace
