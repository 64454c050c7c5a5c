/// The way out of the driver's entry, with an entry of the test's own behind it.

#include "AutoGen.h"

#include "ModuleTestBench.h"
#include "VelmoraQsmErrorHandler.h"

namespace {

using ModuleEntry = ModuleTestBench;

/// What the status is when the entry hands the other one to ExitDriver.
EFI_STATUS mStored = EFI_SUCCESS;
EFI_STATUS mExit = EFI_SUCCESS;

} // namespace

EFI_STATUS EFIAPI
QsmErrorHandlerEntryPoint (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  EXPECT_EQ (mDriverEntryPointStatus, EFI_LOAD_ERROR);
  mDriverEntryPointStatus = mStored;
  ExitDriver (mExit);
  ADD_FAILURE () << "ExitDriver came back";
  return mExit;
}

namespace {

TEST_F (ModuleEntry, KeepsAStoredSuccessAgainstALaterError)
{
  const struct {
    EFI_STATUS Stored, Exit, Left;
  } Rows[] = {
      {EFI_LOAD_ERROR, EFI_NOT_FOUND, EFI_NOT_FOUND},
      {EFI_NOT_FOUND, EFI_SUCCESS, EFI_SUCCESS},
      {EFI_SUCCESS, EFI_NOT_FOUND, EFI_SUCCESS},
      {5, EFI_NOT_FOUND, 5}, // a warning is a success
      {EFI_SUCCESS, 5, 5},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (&Row - Rows);
    mStored = Row.Stored;
    mExit = Row.Exit;
    EXPECT_EQ (CallDriver (ProcessModuleEntryPointList, nullptr, nullptr), Row.Left);
  }
}

} // namespace
