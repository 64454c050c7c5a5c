/// The image entry under other build settings, with lists of the test's own behind it.

#include "UefiDriverEntryPoint.h"

#include "AutoGen.h"
#include "ModuleTestBench.h"
#include "Protocol/LoadedImage.h"
#include "UefiBootServicesTableLib.h"

// The settings, under their names but not constant.
UINT32 mRevision asm("_gUefiDriverRevision") = 0;
UINT8 mUnloadCount asm("_gDriverUnloadImageCount") = 0;

namespace {

EFI_STATUS mEntryStatus = EFI_SUCCESS;
EFI_STATUS mLoadedImageStatus = EFI_SUCCESS;
EFI_LOADED_IMAGE_PROTOCOL mLoadedImage = {};
std::string mTranscript;

EFI_STATUS EFIAPI
HandleProtocol (EFI_HANDLE, const EFI_GUID *, VOID **Interface)
{
  mTranscript += "loaded image, ";
  *Interface = EFI_ERROR (mLoadedImageStatus) ? reinterpret_cast<VOID *> (0xBAD) : &mLoadedImage;
  return mLoadedImageStatus;
}

class DriverEntryPoint : public ModuleTestBench {
public:
  DriverEntryPoint ()
  {
    BootServices.HandleProtocol = HandleProtocol;
    SystemTable.Hdr.Revision = 0x20000;
    SystemTable.BootServices = &BootServices;
    gBS = &BootServices;
    gST = &SystemTable;
  }

  EFI_STATUS
  Enter ()
  {
    mTranscript.clear ();
    return CallDriver (_ModuleEntryPoint, EFI_HANDLE{this}, &SystemTable);
  }

  EFI_BOOT_SERVICES BootServices = {};
  EFI_SYSTEM_TABLE SystemTable = {};
};

} // namespace

VOID EFIAPI
ProcessLibraryConstructorList (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  mTranscript += "constructors, ";
}

VOID EFIAPI
ProcessLibraryDestructorList (EFI_HANDLE, EFI_SYSTEM_TABLE *SystemTable)
{
  EXPECT_EQ (SystemTable, gST);
  mTranscript += "destructors, ";
}

EFI_STATUS EFIAPI
ProcessModuleEntryPointList (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  mTranscript += "entry, ";
  return mEntryStatus;
}

EFI_STATUS EFIAPI
ProcessModuleUnloadList (EFI_HANDLE)
{
  mTranscript += "unload list, ";
  return mEntryStatus;
}

namespace {

TEST_F (DriverEntryPoint, RunsTheDestructorsAfterAnErrorOnly)
{
  const struct {
    EFI_STATUS Status;
    const char *Transcript;
  } Rows[] = {
      {EFI_SUCCESS, "constructors, entry, "},
      {5, "constructors, entry, "}, // a warning
      {EFI_NOT_FOUND, "constructors, entry, destructors, "},
  };
  for (const auto &Row : Rows) {
    mEntryStatus = Row.Status;
    EXPECT_EQ (Enter (), Row.Status);
    EXPECT_EQ (mTranscript, Row.Transcript);
  }
}

TEST_F (DriverEntryPoint, RefusesASystemTableThatIsTooOld)
{
  const struct {
    UINT32 Required;
    EFI_STATUS Status;
    const char *Transcript;
  } Rows[] = {
      {0x20001, EFI_INCOMPATIBLE_VERSION, ""},
      {0x20000, EFI_SUCCESS, "constructors, entry, "},
  };
  for (const auto &Row : Rows) {
    mRevision = Row.Required;
    EXPECT_EQ (Enter (), Row.Status);
    EXPECT_EQ (mTranscript, Row.Transcript);
  }

  // Without the setting nobody looks at the table.
  mRevision = 0;
  SystemTable.Hdr.Revision = 0;
  EXPECT_EQ (Enter (), EFI_SUCCESS);
}

TEST_F (DriverEntryPoint, HooksTheUnloadHandlerIfThereIsOne)
{
  mUnloadCount = 1;
  EXPECT_EQ (Enter (), EFI_SUCCESS);
  EXPECT_EQ (mTranscript, "constructors, loaded image, entry, ");
  ASSERT_EQ (mLoadedImage.Unload, _DriverUnloadHandler);

  mTranscript.clear ();
  EXPECT_EQ (CallDriver (mLoadedImage.Unload, EFI_HANDLE{this}), EFI_SUCCESS);
  EXPECT_EQ (mTranscript, "unload list, destructors, ");

  mTranscript.clear ();
  mEntryStatus = EFI_UNSUPPORTED;
  EXPECT_EQ (CallDriver (mLoadedImage.Unload, EFI_HANDLE{this}), EFI_UNSUPPORTED);
  EXPECT_EQ (mTranscript, "unload list, ");
}

TEST_F (DriverEntryPoint, AssertsOnAnImageWithoutLoadedImageProtocol)
{
  mUnloadCount = 1;
  mLoadedImageStatus = EFI_UNSUPPORTED;
  EXPECT_EQ (Enter (), EFI_SUCCESS);
  EXPECT_EQ (mTranscript, "constructors, loaded image, entry, ");
  gBS = nullptr;
  EXPECT_EQ (Enter (), EFI_SUCCESS);
  EXPECT_EQ (mTranscript, "constructors, entry, ");

  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([this] { Enter (); }),
             "MdePkg/Library/UefiDriverEntryPoint/DriverEntryPoint:116 "
             "!(((INTN)(RETURN_STATUS)(Status)) < 0)");
}

} // namespace
