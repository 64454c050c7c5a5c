/// The four constructors that bind the service tables.

#include "MmServicesTableLib.h"
#include "ModuleTestBench.h"
#include "Protocol/SmmBase2.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"
#include "UefiRuntimeServicesTableLib.h"

namespace {

EFI_STATUS mLocateStatus = EFI_SUCCESS;
EFI_SMM_SYSTEM_TABLE2 *mTable = nullptr;
EFI_SMM_BASE2_PROTOCOL mBase = {};
VOID *mInterface = &mBase;

EFI_STATUS EFIAPI
GetSmstLocation (const EFI_SMM_BASE2_PROTOCOL *This, EFI_SMM_SYSTEM_TABLE2 **Smst)
{
  EXPECT_EQ (This, &mBase);
  *Smst = mTable;
  return EFI_UNSUPPORTED; // nobody looks
}

EFI_STATUS EFIAPI
LocateProtocol (const EFI_GUID *Guid, VOID *, VOID **Interface)
{
  EXPECT_EQ (Guid->Data1, 0xF4CCBFB7U);
  *Interface = mInterface;
  return mLocateStatus;
}

class ServiceTables : public ModuleTestBench {
public:
  ServiceTables ()
  {
    mBase.GetSmstLocation = GetSmstLocation;
    mTable = &Smst;
    BootServices.LocateProtocol = LocateProtocol;
    SystemTable.BootServices = &BootServices;
    SystemTable.RuntimeServices = reinterpret_cast<EFI_RUNTIME_SERVICES *> (this);
  }

  /// Binds everything from one system table; each constructor succeeds whatever it finds.
  void
  BindAll (EFI_SYSTEM_TABLE *Table)
  {
    EXPECT_EQ (UefiBootServicesTableLibConstructor (Handle, Table), EFI_SUCCESS);
    EXPECT_EQ (UefiRuntimeServicesTableLibConstructor (Handle, Table), EFI_SUCCESS);
    EXPECT_EQ (SmmServicesTableLibConstructor (Handle, Table), EFI_SUCCESS);
    EXPECT_EQ (MmServicesTableLibConstructor (Handle, Table), EFI_SUCCESS);
  }

  EFI_HANDLE Handle = nullptr;
  EFI_BOOT_SERVICES BootServices = {};
  EFI_SYSTEM_TABLE SystemTable = {};
  EFI_SYSTEM_TABLE Empty = {};
};

TEST_F (ServiceTables, BindWhatTheArgumentsLeadTo)
{
  Handle = this;
  BindAll (&SystemTable);
  EXPECT_EQ (gImageHandle, this);
  EXPECT_EQ (gST, &SystemTable);
  EXPECT_EQ (gBS, &BootServices);
  EXPECT_EQ (gRT, SystemTable.RuntimeServices);
  EXPECT_EQ (gSmst, &Smst);
  EXPECT_EQ (gMmst, &Smst);
}

TEST_F (ServiceTables, GoOnWithoutAnyOfThem)
{
  mInterface = reinterpret_cast<VOID *> (0xBAD);
  mLocateStatus = EFI_NOT_FOUND;
  for (EFI_SYSTEM_TABLE *Table :
       {&SystemTable, &Empty, static_cast<EFI_SYSTEM_TABLE *> (nullptr)}) {
    BindAll (Table);
    EXPECT_EQ (gSmst, nullptr);
    EXPECT_EQ (gMmst, nullptr);
  }
  EXPECT_EQ (gBS, nullptr);
  VOID *Interface = this;
  EXPECT_EQ (LocateSmmProtocol (&gEfiSmmBase2ProtocolGuid, &Interface), EFI_UNSUPPORTED);
  EXPECT_EQ (Interface, nullptr);
}

TEST_F (ServiceTables, AssertEachBindingOnceThereIsADebugService)
{
  InstallDebugService ();
  const auto ExpectStop = [this] (auto Constructor, EFI_SYSTEM_TABLE *Table, std::string Library,
                                  std::string Stop) {
    Library += "ServicesTableLib";
    EXPECT_EQ (StoppedAt ([&] { (void)Constructor (Handle, Table); }),
               "MdePkg/Library/" + Library + "/" + Library + ":" + Stop);
  };
  const auto Boot = UefiBootServicesTableLibConstructor;
  const auto Runtime = UefiRuntimeServicesTableLibConstructor;
  ExpectStop (Boot, &Empty, "UefiBoot", "44 gImageHandle != ((void *) 0)");
  Handle = this;
  ExpectStop (Boot, nullptr, "UefiBoot", "50 gST != ((void *) 0)");
  ExpectStop (Boot, &Empty, "UefiBoot", "56 gBS != ((void *) 0)");
  ExpectStop (Runtime, &Empty, "UefiRuntime", "41 gRT != ((void *) 0)");

  const auto Smm = SmmServicesTableLibConstructor;
  const auto Mm = MmServicesTableLibConstructor;
  mLocateStatus = EFI_NOT_FOUND;
  ExpectStop (Mm, &SystemTable, "Mm", "47 !(((INTN)(RETURN_STATUS)(Status)) < 0)");
  ExpectStop (Smm, &SystemTable, "Smm", "46 !(((INTN)(RETURN_STATUS)(Status)) < 0)");
  mLocateStatus = EFI_SUCCESS;
  mInterface = nullptr;
  ExpectStop (Mm, &SystemTable, "Mm", "48 InternalMmBase != ((void *) 0)");
  ExpectStop (Smm, &SystemTable, "Smm", "47 InternalSmmBase2 != ((void *) 0)");
  mInterface = &mBase;
  mTable = nullptr;
  ExpectStop (Mm, &SystemTable, "Mm", "54 gMmst != ((void *) 0)");
  // Once found, the service is kept, so that even this one is reported.
  ExpectStop (Smm, &SystemTable, "Smm", "53 gSmst != ((void *) 0)");
}

} // namespace
