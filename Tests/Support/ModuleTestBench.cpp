#include "ModuleTestBench.h"

#include <cstring>
#include <sstream>

#include "SmmServicesTableLib.h"

namespace {

/// The bench that runs; the published interfaces have no place for it.
ModuleTestBench *mBench = nullptr;
SmmDebugServiceProtocol mService = {};

EFI_STATUS EFIAPI
Print (UINTN ErrorLevel, const CHAR8 *Format, VA_LIST)
{
  std::ostringstream Line;
  Line << std::hex << ErrorLevel << " " << Format;
  mBench->Messages.push_back (Line.str ());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
PrintWithName (UINTN ErrorLevel, const CHAR8 *ModuleName, const CHAR8 *Format, VA_LIST Args)
{
  EXPECT_STREQ (ModuleName, "VelmoraQsmErrorHandler");
  return Print (ErrorLevel, Format, Args);
}

EFI_STATUS EFIAPI
Assert (const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description)
{
  std::ostringstream Line;
  Line << FileName << ":" << LineNumber << " " << Description;
  mBench->Assertions.push_back (Line.str ());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
AssertWithName (const CHAR8 *ModuleName,
                const CHAR8 *FileName,
                UINTN LineNumber,
                const CHAR8 *Description)
{
  EXPECT_STREQ (ModuleName, "VelmoraQsmErrorHandler");
  return Assert (FileName, LineNumber, Description);
}

EFI_STATUS EFIAPI
LocateNothing (const EFI_GUID *, VOID *, VOID **)
{
  return EFI_NOT_FOUND;
}

EFI_STATUS EFIAPI
LocateDebugService (const EFI_GUID *Protocol, VOID *, VOID **Interface)
{
  if (std::memcmp (Protocol, &gSmmDebugServiceProtocolGuid, sizeof (EFI_GUID)) != 0) {
    return EFI_NOT_FOUND;
  }
  *Interface = &mService;
  return EFI_SUCCESS;
}

} // namespace

void
StoppingMachine::Pause ()
{
  throw ProcessorStopped ("dead loop");
}

ModuleTestBench::ModuleTestBench ()
{
  mBench = this;
  gHostMachine = &DefaultMachine;
  Smst.SmmLocateProtocol = LocateNothing;
}

ModuleTestBench::~ModuleTestBench ()
{
  gHostMachine = nullptr;
  gSmst = nullptr;
  mBench = nullptr;
}

void
ModuleTestBench::InstallDebugService (UINT64 Revision)
{
  mService = {.Revision = Revision,
              .Print = Print,
              .Assert = Assert,
              .PrintWithName = PrintWithName,
              .Reserved = nullptr,
              .AssertWithName = AssertWithName};
  Smst.SmmLocateProtocol = LocateDebugService;
  gSmst = &Smst;
}

void
ModuleTestBench::UseMachine (HostMachine &Machine)
{
  gHostMachine = &Machine;
}
