#include "Firmware.h"

#include <gtest/gtest.h>

#include "BootServices.h"
#include "HostWorld.h"
#include "Pool.h"
#include "Protocol/SmmRscHandler.h"
#include "ProtocolDatabase.h"
#include "SmmServices.h"
#include "VariablePolicy.h"
#include "VariableStore.h"

namespace {

constexpr EFI_GUID Space = {};
constexpr UINT32 Volatile = EFI_VARIABLE_BOOTSERVICE_ACCESS;

/// A firmware after power-on, on the host.
class Firmware : public testing::Test {
public:
  Firmware ()
  {
    PowerOn ();
  }

  void
  PowerOn (UINTN SmmPoolSize = 0x10000)
  {
    FirmwareWorld Table = World.Table ();
    Table.Pools[PoolSmm].Size = SmmPoolSize;
    FirmwareReset (&Table);
  }

  static EFI_STATUS
  Set (const CHAR16 *Name, UINTN Size, UINT32 Attributes = Volatile)
  {
    return gSmmVariable.SmmSetVariable (Name, &Space, Attributes, Size, "1234567");
  }

  HostWorld World{1};
};

TEST_F (Firmware, KnowsEveryPoolBlock)
{
  const auto &Boot = *gSystemTable.BootServices;
  void *First = nullptr;
  void *Second = nullptr;
  gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 5, &First);
  gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, 5, &Second);
  EXPECT_EQ (gSmmSystemTable.SmmFreePool (First), EFI_SUCCESS);
  EXPECT_EQ (gPools[PoolSmm].LiveBlocks, 1U);
  EXPECT_THROW (gSmmSystemTable.SmmFreePool (First), PlatformFault);
  EXPECT_THROW (gSmmSystemTable.SmmFreePool (static_cast<UINT8 *> (Second) + 1), PlatformFault);
  EXPECT_THROW (Boot.FreePool (Second), PlatformFault) << "of the other pool";

  FirmwareSignalReadyToLock ();
  EXPECT_THROW (Boot.AllocatePool (EfiBootServicesData, 5, &First), PlatformFault);
}

TEST_F (Firmware, GivesFreedMemoryOutAgain)
{
  PowerOn (1024);
  const auto Allocate = [] (UINTN Size, void *&Block) {
    return gSmmSystemTable.SmmAllocatePool (EfiRuntimeServicesData, Size, &Block);
  };
  void *Blocks[5];
  for (void *&Block : Blocks) {
    EXPECT_EQ (Allocate (150, Block), EFI_SUCCESS);
  }
  void *Another = nullptr;
  EXPECT_EQ (Allocate (150, Another), EFI_OUT_OF_RESOURCES);
  for (const UINTN Index : {1U, 3U, 2U, 0U, 4U}) {
    gSmmSystemTable.SmmFreePool (Blocks[Index]);
  }
  EXPECT_EQ (Allocate (900, Another), EFI_SUCCESS);
  EXPECT_EQ (Allocate (~UINTN{0}, Another), EFI_OUT_OF_RESOURCES);
}

TEST_F (Firmware, AnswersWithTheFirstSuccessOfItsListeners)
{
  void *Interface = nullptr;
  gSmmSystemTable.SmmLocateProtocol (&gEfiSmmRscHandlerProtocolGuid, nullptr, &Interface);
  const auto &Router = *static_cast<EFI_SMM_RSC_HANDLER_PROTOCOL *> (Interface);
  const auto Report = [] (UINT32 Value) {
    return FirmwareReportStatusCode (EFI_ERROR_CODE, Value, 0, nullptr, nullptr);
  };
  const EFI_SMM_RSC_HANDLER_CALLBACK Refuses =
      [] (UINT32, UINT32, UINT32, EFI_GUID *, EFI_STATUS_CODE_DATA *)
          EFIAPI -> EFI_STATUS { return EFI_UNSUPPORTED; };
  const EFI_SMM_RSC_HANDLER_CALLBACK TakesSeven =
      [] (UINT32, UINT32 Value, UINT32, EFI_GUID *, EFI_STATUS_CODE_DATA *)
          EFIAPI -> EFI_STATUS { return Value == 7 ? EFI_SUCCESS : EFI_DEVICE_ERROR; };
  EXPECT_EQ (Report (7), EFI_NOT_FOUND);
  EXPECT_EQ (Router.Register (TakesSeven), EFI_SUCCESS);
  EXPECT_EQ (Router.Register (Refuses), EFI_SUCCESS);
  EXPECT_EQ (Router.Register (Refuses), EFI_ALREADY_STARTED);
  EXPECT_EQ (Report (7), EFI_SUCCESS);
  EXPECT_EQ (Report (8), EFI_UNSUPPORTED);
  EXPECT_EQ (Router.Unregister (TakesSeven), EFI_SUCCESS);
  EXPECT_EQ (Report (7), EFI_UNSUPPORTED);
}

TEST_F (Firmware, RefusesToChangeALockedVariable)
{
  struct {
    VARIABLE_POLICY_ENTRY Entry;
    CHAR16 Name[3];
  } Rule = {.Entry = {}, .Name = u"A"};
  VARIABLE_POLICY_ENTRY Good = {};
  Good.Version = VARIABLE_POLICY_ENTRY_REVISION;
  Good.Size = sizeof Good + 4;
  Good.OffsetToName = sizeof Good;
  Good.LockPolicyType = VARIABLE_POLICY_TYPE_LOCK_NOW;
  EXPECT_EQ (Set (u"A", 1), EFI_SUCCESS);
  Rule.Entry = Good;
  EXPECT_EQ (gVariablePolicy.RegisterVariablePolicy (&Rule.Entry), EFI_SUCCESS);
  EXPECT_EQ (gVariablePolicy.RegisterVariablePolicy (&Rule.Entry), EFI_ALREADY_STARTED);
  Rule = {}; // The service has a copy.
  EXPECT_EQ (Set (u"A", 2), EFI_WRITE_PROTECTED);
  EXPECT_EQ (Set (u"A", 0), EFI_WRITE_PROTECTED);
  EXPECT_EQ (VariableFind (u"A", &Space)->DataSize, 1U);
  EXPECT_EQ (Set (u"AB", 1), EFI_SUCCESS);
  Good.Size = sizeof Good;
  EXPECT_EQ (gVariablePolicy.RegisterVariablePolicy (&Good), EFI_SUCCESS);
  EXPECT_EQ (Set (u"AB", 2), EFI_WRITE_PROTECTED) << "locked with its namespace";
}

} // namespace
