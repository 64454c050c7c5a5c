#include "LibraryCall.h"

#include "ModuleTestBench.h"

namespace {

using LibraryCall = ModuleTestBench;

EFI_STATUS mStatusA = EFI_SUCCESS;
RETURN_STATUS mStatusB = RETURN_SUCCESS;

EFI_STATUS EFIAPI
FormA (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable)
{
  EXPECT_NE (ImageHandle, nullptr);
  EXPECT_EQ (ImageHandle, static_cast<VOID *> (SystemTable));
  return mStatusA;
}

RETURN_STATUS EFIAPI
FormB ()
{
  return mStatusB;
}

void
CallList ()
{
  constexpr LibraryFunction List[] = {{.FormA = FormA}, {.FormB = FormB}, {.FormA = FormA}};
  static EFI_SYSTEM_TABLE SystemTable;
  CallLibraries (List, ArrayCount (List), 902, &SystemTable, &SystemTable);
}

TEST_F (LibraryCall, AssertsAFailureInTheFormOfItsCall)
{
  InstallDebugService ();
  const std::string Text = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";
  mStatusA = EFI_NOT_FOUND;
  EXPECT_EQ (StoppedAt (CallList), "AutoGen:902" + Text);
  EXPECT_EQ (Messages.back (), "80000000 \nASSERT_EFI_ERROR (Status = %r)\n");

  mStatusA = 5; // A warning is no failure.
  mStatusB = RETURN_DEVICE_ERROR;
  EXPECT_EQ (StoppedAt (CallList), "AutoGen:905" + Text);
  EXPECT_EQ (Messages.back (), "80000000 \nASSERT_RETURN_ERROR (Status = %r)\n");
}

} // namespace
