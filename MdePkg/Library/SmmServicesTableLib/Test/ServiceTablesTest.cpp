/// The four constructors that bind the service tables.

#include "FirmwareTestBench.h"
#include "MmServicesTableLib.h"
#include "Protocol/SmmBase2.h"
#include "SmmServices.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"
#include "UefiRuntimeServicesTableLib.h"

namespace {

using ServiceTables = FirmwareTestBench;

void
PublishBase (EFI_SMM_BASE2_PROTOCOL *Base)
{
  ProtocolRemove (ProtocolBoot, &gEfiSmmBase2ProtocolGuid);
  ProtocolPublish (ProtocolBoot, &gEfiSmmBase2ProtocolGuid, Base);
}

TEST_F (ServiceTables, BindWhatTheArgumentsLeadTo)
{
  EFI_SMM_BASE2_PROTOCOL Base = {};
  Base.GetSmstLocation = [] (const EFI_SMM_BASE2_PROTOCOL *, EFI_SMM_SYSTEM_TABLE2 **Smst) EFIAPI {
    *Smst = &gSmmSystemTable;
    return EFI_UNSUPPORTED; // nobody looks
  };
  PublishBase (&Base);
  EFI_SYSTEM_TABLE *const Table = gST;
  gST = nullptr;
  gBS = nullptr;
  gSmst = nullptr;
  for (const auto Construct :
       {MmServicesTableLibConstructor, SmmServicesTableLibConstructor,
        UefiRuntimeServicesTableLibConstructor, UefiBootServicesTableLibConstructor}) {
    EXPECT_EQ (Construct (this, Table), EFI_SUCCESS);
  }
  EXPECT_EQ (gImageHandle, this);
  EXPECT_EQ (gST, Table);
  EXPECT_EQ (gBS, Table->BootServices);
  EXPECT_EQ (gRT, Table->RuntimeServices);
  EXPECT_EQ (gSmst, &gSmmSystemTable);
  EXPECT_EQ (gMmst, &gSmmSystemTable);
}

TEST_F (ServiceTables, AreNullAndAssertedWhereTheyAreMissing)
{
  EFI_SYSTEM_TABLE Empty = {};
  EFI_SYSTEM_TABLE *const Full = gST;
  constexpr auto Boot = UefiBootServicesTableLibConstructor;
  constexpr auto Smm = SmmServicesTableLibConstructor;
  constexpr auto Mm = MmServicesTableLibConstructor;
  const auto Nothing = [] {};
  const auto NoInterface = [] { PublishBase (nullptr); };
  const auto NoTable = [] { FaultPlanFail (ServiceGetSmstLocation, 1, EFI_DEVICE_ERROR); };
  const std::string OnStatus = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";
  const struct {
    EFI_STATUS (EFIAPI *Construct) (EFI_HANDLE, EFI_SYSTEM_TABLE *);
    EFI_HANDLE Image;
    EFI_SYSTEM_TABLE *Table;
    void (*Fault) ();
    std::string Library, Stop;
  } Rows[] = {
      {Boot, nullptr, Full, Nothing, "UefiBoot", "44 gImageHandle != ((void *) 0)"},
      {Boot, this, nullptr, Nothing, "UefiBoot", "50 gST != ((void *) 0)"},
      {Boot, this, &Empty, Nothing, "UefiBoot", "56 gBS != ((void *) 0)"},
      {UefiRuntimeServicesTableLibConstructor, this, nullptr, Nothing, "UefiRuntime",
       "41 gRT != ((void *) 0)"},
      {Smm, this, &Empty, Nothing, "Smm", "46" + OnStatus},
      {Mm, this, nullptr, Nothing, "Mm", "47" + OnStatus},
      {Smm, this, Full, NoInterface, "Smm", "47 InternalSmmBase2 != ((void *) 0)"},
      {Mm, this, Full, NoInterface, "Mm", "48 InternalMmBase != ((void *) 0)"},
      // The debug service was found through the table of an earlier row, and is kept.
      {Smm, this, Full, NoTable, "Smm", "53 gSmst != ((void *) 0)"},
  };
  for (const bool Stops : {false, true}) {
    for (const auto &Row : Rows) {
      SCOPED_TRACE (Row.Stop);
      PowerOn ();
      gSmst = &gSmmSystemTable;
      gMmst = &gSmmSystemTable;
      Row.Fault ();
      const std::string Library = Row.Library + "ServicesTableLib";
      EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (Row.Construct (Row.Image, Row.Table), 0U); }),
                 Stops ? "MdePkg/Library/" + Library + "/" + Library + ":" + Row.Stop : "");
      if (!Stops) {
        EXPECT_EQ (gSmst == nullptr, Row.Construct == Smm);
        EXPECT_EQ (gMmst == nullptr, Row.Construct == Mm);
      }
    }
    InstallDebugService ();
  }
}

} // namespace
