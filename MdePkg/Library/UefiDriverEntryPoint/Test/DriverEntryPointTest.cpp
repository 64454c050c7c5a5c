/// The image entry under other build settings, with lists of the test's own behind it.

#include "UefiDriverEntryPoint.h"

#include <cstring>

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
VOID *mInterface = &mLoadedImage;
std::string mTranscript;

/// Notes a call that the image's handle is to reach, and the table that came with it.
void
Note (const char *Call, EFI_HANDLE ImageHandle, const EFI_SYSTEM_TABLE *SystemTable = gST)
{
  EXPECT_EQ (ImageHandle, &mTranscript);
  EXPECT_EQ (SystemTable, gST);
  mTranscript += Call;
}

EFI_STATUS EFIAPI
HandleProtocol (EFI_HANDLE ImageHandle, const EFI_GUID *Guid, VOID **Interface)
{
  EXPECT_EQ (std::memcmp (Guid, &gEfiLoadedImageProtocolGuid, sizeof *Guid), 0);
  Note ("loaded image, ", ImageHandle);
  *Interface = mInterface;
  return mLoadedImageStatus;
}

class DriverEntryPoint : public ModuleTestBench {
public:
  DriverEntryPoint ()
  {
    BootServices.HandleProtocol = HandleProtocol;
    SystemTable.BootServices = &BootServices;
    gBS = &BootServices;
    gST = &SystemTable;
  }

  void
  ExpectEntry (EFI_STATUS Status, const char *Transcript)
  {
    mTranscript.clear ();
    EXPECT_EQ (CallDriver (_ModuleEntryPoint, EFI_HANDLE{&mTranscript}, &SystemTable), Status);
    EXPECT_EQ (mTranscript, Transcript);
  }

  EFI_BOOT_SERVICES BootServices = {};
  EFI_SYSTEM_TABLE SystemTable = {};
};

} // namespace

VOID EFIAPI
ProcessLibraryConstructorList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  Note ("constructors, ", ImageHandle, SystemTable);
}

VOID EFIAPI
ProcessLibraryDestructorList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  Note ("destructors, ", ImageHandle, SystemTable);
}

EFI_STATUS EFIAPI
ProcessModuleEntryPointList (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  Note ("entry, ", ImageHandle, SystemTable);
  return mEntryStatus;
}

EFI_STATUS EFIAPI
ProcessModuleUnloadList (EFI_HANDLE ImageHandle)
{
  Note ("unload list, ", ImageHandle);
  return mEntryStatus;
}

namespace {

TEST_F (DriverEntryPoint, RefusesAnOldSystemTableAndRunsTheDestructorsAfterAnErrorOnly)
{
  SystemTable.Hdr.Revision = 0x20000;
  const struct {
    UINT32 Revision; ///< That the driver asks for.
    EFI_STATUS Entry, Status;
    const char *Transcript;
  } Rows[] = {
      {0, EFI_SUCCESS, EFI_SUCCESS, "constructors, entry, "},
      {0x20000, 5, 5, "constructors, entry, "}, // a warning
      {0x20000, EFI_NOT_FOUND, EFI_NOT_FOUND, "constructors, entry, destructors, "},
      {0x20001, EFI_SUCCESS, EFI_INCOMPATIBLE_VERSION, ""},
  };
  for (const auto &Row : Rows) {
    mRevision = Row.Revision;
    mEntryStatus = Row.Entry;
    ExpectEntry (Row.Status, Row.Transcript);
  }
}

TEST_F (DriverEntryPoint, HooksTheUnloadHandlerIfThereIsOne)
{
  mUnloadCount = 1;
  ExpectEntry (EFI_SUCCESS, "constructors, loaded image, entry, ");
  ASSERT_EQ (mLoadedImage.Unload, _DriverUnloadHandler);
  mTranscript.clear ();
  EXPECT_EQ (CallDriver (mLoadedImage.Unload, EFI_HANDLE{&mTranscript}), EFI_SUCCESS);
  mEntryStatus = EFI_UNSUPPORTED;
  EXPECT_EQ (CallDriver (mLoadedImage.Unload, EFI_HANDLE{&mTranscript}), EFI_UNSUPPORTED);
  EXPECT_EQ (mTranscript, "unload list, destructors, unload list, ");
}

TEST_F (DriverEntryPoint, AssertsOnAnImageWithoutLoadedImageProtocol)
{
  const std::string Stop = "MdePkg/Library/UefiDriverEntryPoint/DriverEntryPoint:116 "
                           "!(((INTN)(RETURN_STATUS)(Status)) < 0)";
  mUnloadCount = 1;
  for (const bool Stops : {false, true}) {
    for (const EFI_STATUS Status : {EFI_UNSUPPORTED, EFI_SUCCESS}) {
      mLoadedImageStatus = Status;
      mInterface = EFI_ERROR (Status) ? reinterpret_cast<VOID *> (0xBAD) : nullptr;
      EXPECT_EQ (
          StoppedAt ([&] { ExpectEntry (EFI_SUCCESS, "constructors, loaded image, entry, "); }),
          Stops ? Stop : "");
    }
    if (!Stops) {
      gBS = nullptr;
      ExpectEntry (EFI_SUCCESS, "constructors, entry, ");
      gBS = &BootServices;
      InstallDebugService ();
    }
  }
}

} // namespace
