/// The three libraries that each bind one record of a closed driver.

#include "CsrPseudoOffsetConvertLibSmm.h"
#include "EmulationConfigurationLib.h"
#include "FirmwareTestBench.h"
#include "HandOffRecords.h"
#include "Protocol/CsrPseudoOffsetTable.h"
#include "Protocol/EmulationConfiguration.h"
#include "SmmServicesTableLib.h"
#include "SystemInfoLib.h"

namespace {

using RecordBinding = FirmwareTestBench;

const struct Library {
  std::string SourceFile;
  EFI_STATUS (EFIAPI *Construct) (EFI_HANDLE, EFI_SYSTEM_TABLE *);
  const EFI_GUID &Protocol;
  const VOID *(*Bound) ();
  std::string NullLine, StatusLine;
} Libraries[] = {
    {"ServerSiliconPkg/Library/SystemInfoLib/SystemInfoLibSmm", SystemInfoLibConstructor,
     gSystemInfoProtocolGuid, [] () -> const VOID * { return mSystemInfoRecord; }, "117", "126"},
    {"ServerSiliconPkg/Library/CsrPseudoOffsetConvertLibSmm/CsrPseudoOffsetConvertLibSmm",
     CsrPseudoOffsetConvertLibConstructor, gCsrPseudoOffsetTableProtocolGuid,
     [] { return mCsrPseudoOffsetTable; }, "129", "138"},
    {"ServerSiliconPkg/Library/EmulationConfigurationLib/EmulationConfigurationSmmLib",
     EmulationConfigurationLibConstructor, gEmulationConfigurationProtocolGuid,
     [] { return mEmulationConfig; }, "298", "307"},
};

TEST_F (RecordBinding, KeepsWhatThePlatformPublishes)
{
  for (const Library &Each : Libraries) {
    SCOPED_TRACE (Each.SourceFile);
    VOID *Published = nullptr;
    EXPECT_EQ (ProtocolLocate (ProtocolSmm, &Each.Protocol, &Published), EFI_SUCCESS);
    EXPECT_EQ (Each.Construct (nullptr, nullptr), EFI_SUCCESS);
    EXPECT_EQ (Each.Bound (), Published);
  }
  EXPECT_EQ (mSystemInfoRecord, &gSystemInfo);
}

TEST_F (RecordBinding, StaysNullWithoutTheProtocolOrTheServicesTable)
{
  EFI_SMM_SYSTEM_TABLE2 *const Table = gSmst;
  for (const bool Stops : {false, true}) {
    if (Stops) {
      InstallDebugService ();
    }
    for (const Library &Each : Libraries) {
      SCOPED_TRACE (Each.SourceFile);
      EFI_STATUS Status = EFI_SUCCESS;
      const auto Construct = [&] { Status = Each.Construct (nullptr, nullptr); };
      ProtocolRemove (ProtocolSmm, &Each.Protocol);
      EXPECT_EQ (StoppedAt (Construct), Stops ? Each.SourceFile + ":" + Each.StatusLine +
                                                    " !(((INTN)(RETURN_STATUS)(Status)) < 0)"
                                              : "");
      EXPECT_EQ (Status, Stops ? EFI_SUCCESS : EFI_NOT_FOUND);
      gSmst = nullptr; // The debug service, if there is one, has been found by now.
      EXPECT_EQ (StoppedAt (Construct),
                 Stops ? Each.SourceFile + ":" + Each.NullLine + " ((BOOLEAN)(0==1))" : "");
      EXPECT_EQ (Status, Stops ? EFI_SUCCESS : EFI_UNSUPPORTED);
      EXPECT_EQ (Each.Bound (), nullptr);
      gSmst = Table;
    }
  }
}

} // namespace
