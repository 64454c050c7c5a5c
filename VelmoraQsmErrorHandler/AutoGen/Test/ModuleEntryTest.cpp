/// The way out of the driver's entry, with an entry of the test's own behind it.

#include "AutoGen.h"

#include "ModuleTestBench.h"
#include "VelmoraQsmErrorHandler.h"

namespace {

using ModuleEntry = ModuleTestBench;

/// What the entry hands to ExitDriver from further down, in order; its own result comes after them.
std::vector<EFI_STATUS> mStored;
EFI_STATUS mEntryResult = EFI_SUCCESS;

[[gnu::noinline]] void
ExitFromBelow (EFI_STATUS Status, int Depth)
{
  if (Depth > 0) {
    ExitFromBelow (Status, Depth - 1);
  } else {
    ExitDriver (Status);
  }
  FAIL () << "ExitDriver came back";
}

EFI_STATUS
LeftBehind ()
{
  return CallDriver (ProcessModuleEntryPointList, EFI_HANDLE{nullptr},
                     static_cast<EFI_SYSTEM_TABLE *> (nullptr));
}

} // namespace

EFI_STATUS EFIAPI
QsmErrorHandlerEntryPoint (EFI_HANDLE, EFI_SYSTEM_TABLE *)
{
  EXPECT_EQ (mDriverEntryPointStatus, EFI_LOAD_ERROR);
  for (const EFI_STATUS Status : mStored) {
    mDriverEntryPointStatus = Status;
    ExitFromBelow (mEntryResult, 5);
  }
  return mEntryResult;
}

namespace {

TEST_F (ModuleEntry, LeavesWhatTheEntryReturned)
{
  for (const EFI_STATUS Status : {EFI_SUCCESS, EFI_STATUS{4}, EFI_NOT_FOUND}) {
    mEntryResult = Status;
    EXPECT_EQ (LeftBehind (), Status);
  }
}

TEST_F (ModuleEntry, KeepsAStoredSuccessAgainstALaterError)
{
  const struct {
    EFI_STATUS Stored;
    EFI_STATUS Exit;
    EFI_STATUS Left;
  } Rows[] = {
      {EFI_LOAD_ERROR, EFI_NOT_FOUND, EFI_NOT_FOUND},
      {EFI_NOT_FOUND, EFI_SUCCESS, EFI_SUCCESS},
      {EFI_SUCCESS, EFI_NOT_FOUND, EFI_SUCCESS},
      {5, EFI_NOT_FOUND, 5}, // a warning is a success
      {EFI_SUCCESS, 5, 5},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (testing::Message () << std::hex << Row.Stored << " then " << Row.Exit);
    mStored = {Row.Stored};
    mEntryResult = Row.Exit;
    EXPECT_EQ (LeftBehind (), Row.Left);
  }
}

} // namespace
