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
bool mBaseIsNull = false;

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
  *Interface = EFI_ERROR (mLocateStatus) ? reinterpret_cast<VOID *> (0xBAD) : &mBase;
  if (mBaseIsNull) {
    *Interface = nullptr;
  }
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

  EFI_BOOT_SERVICES BootServices = {};
  EFI_SYSTEM_TABLE SystemTable = {};
};

TEST_F (ServiceTables, BindWhatTheArgumentsLeadTo)
{
  EXPECT_EQ (UefiBootServicesTableLibConstructor (this, &SystemTable), EFI_SUCCESS);
  EXPECT_EQ (UefiRuntimeServicesTableLibConstructor (nullptr, &SystemTable), EFI_SUCCESS);
  EXPECT_EQ (SmmServicesTableLibConstructor (nullptr, &SystemTable), EFI_SUCCESS);
  EXPECT_EQ (MmServicesTableLibConstructor (nullptr, &SystemTable), EFI_SUCCESS);
  EXPECT_EQ (gImageHandle, this);
  EXPECT_EQ (gST, &SystemTable);
  EXPECT_EQ (gBS, &BootServices);
  EXPECT_EQ (gRT, SystemTable.RuntimeServices);
  EXPECT_EQ (gSmst, &Smst);
  EXPECT_EQ (gMmst, &Smst);
}

TEST_F (ServiceTables, GoOnWithoutAnyOfThem)
{
  EFI_SYSTEM_TABLE Empty = {};
  for (EFI_SYSTEM_TABLE *Table : {&Empty, static_cast<EFI_SYSTEM_TABLE *> (nullptr)}) {
    EXPECT_EQ (UefiBootServicesTableLibConstructor (nullptr, Table), EFI_SUCCESS);
    EXPECT_EQ (UefiRuntimeServicesTableLibConstructor (nullptr, Table), EFI_SUCCESS);
    EXPECT_EQ (SmmServicesTableLibConstructor (nullptr, Table), EFI_SUCCESS);
    EXPECT_EQ (MmServicesTableLibConstructor (nullptr, Table), EFI_SUCCESS);
  }
  EXPECT_EQ (gBS, nullptr);
  EXPECT_EQ (gSmst, nullptr);

  mLocateStatus = EFI_NOT_FOUND;
  EXPECT_EQ (SmmServicesTableLibConstructor (nullptr, &SystemTable), EFI_SUCCESS);
  EXPECT_EQ (gSmst, nullptr);
  VOID *Interface = this;
  EXPECT_EQ (LocateSmmProtocol (&gEfiSmmBase2ProtocolGuid, &Interface), EFI_UNSUPPORTED);
  EXPECT_EQ (Interface, nullptr);
}

TEST_F (ServiceTables, AssertEachBindingOnceThereIsADebugService)
{
  InstallDebugService ();
  const auto BootServicesLib = [] (EFI_HANDLE Handle, EFI_SYSTEM_TABLE *Table) {
    return [=] { (void)UefiBootServicesTableLibConstructor (Handle, Table); };
  };
  const auto MmLib = [this] { (void)MmServicesTableLibConstructor (nullptr, &SystemTable); };
  const auto SmmLib = [this] { (void)SmmServicesTableLibConstructor (nullptr, &SystemTable); };
  const std::string Uefi = "MdePkg/Library/UefiBootServicesTableLib/UefiBootServicesTableLib:";
  const std::string Smm = "MdePkg/Library/SmmServicesTableLib/SmmServicesTableLib:";
  const std::string Mm = "MdePkg/Library/MmServicesTableLib/MmServicesTableLib:";
  const std::string StatusText = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";
  EFI_SYSTEM_TABLE Empty = {};

  EXPECT_EQ (StoppedAt (BootServicesLib (nullptr, &Empty)),
             Uefi + "44 gImageHandle != ((void *) 0)");
  EXPECT_EQ (StoppedAt (BootServicesLib (this, nullptr)), Uefi + "50 gST != ((void *) 0)");
  EXPECT_EQ (StoppedAt (BootServicesLib (this, &Empty)), Uefi + "56 gBS != ((void *) 0)");
  EXPECT_EQ (StoppedAt ([&] { (void)UefiRuntimeServicesTableLibConstructor (nullptr, &Empty); }),
             "MdePkg/Library/UefiRuntimeServicesTableLib/UefiRuntimeServicesTableLib:41 "
             "gRT != ((void *) 0)");

  mLocateStatus = EFI_NOT_FOUND;
  EXPECT_EQ (StoppedAt (MmLib), Mm + "47" + StatusText);
  EXPECT_EQ (StoppedAt (SmmLib), Smm + "46" + StatusText);
  mLocateStatus = EFI_SUCCESS;
  mBaseIsNull = true;
  EXPECT_EQ (StoppedAt (MmLib), Mm + "48 InternalMmBase != ((void *) 0)");
  EXPECT_EQ (StoppedAt (SmmLib), Smm + "47 InternalSmmBase2 != ((void *) 0)");
  mBaseIsNull = false;
  mTable = nullptr;
  EXPECT_EQ (StoppedAt (MmLib), Mm + "54 gMmst != ((void *) 0)");
  // Once found, the service is kept, so that even this one is reported.
  EXPECT_EQ (StoppedAt (SmmLib), Smm + "53 gSmst != ((void *) 0)");
}

} // namespace
