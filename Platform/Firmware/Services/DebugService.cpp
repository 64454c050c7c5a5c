#include "DebugService.h"

#include "FirmwareWorld.h"
#include "PrintLib.h"
#include "ProtocolDatabase.h"
#include "UnprovidedService.h"

constinit SmmDebugServiceProtocol gDebugService = {};

namespace {

/// A client takes the form that the revision asks for.
VOID
RequireForm (bool Named)
{
  if (Named != (gDebugService.Revision > SMM_DEBUG_SERVICE_REVISION_UNNAMED)) {
    FirmwareFault ("the debug service was called in the form of another revision");
  }
}

/// Composes a text of the log, which keeps plain line ends where the print engine writes CR LF.
VOID
ComposeText (CHAR8 (&Text)[DebugTextMax], const CHAR8 *Format, VA_LIST Args)
{
  BasePrintLibSPrintMarker (Text, sizeof Text, 0, Format, Args);
  const CHAR8 *Next = Text;
  while (*Next != '\0' && *Next != '\r') {
    ++Next;
  }
  CHAR8 *End = Text + (Next - Text);
  for (; *Next != '\0'; ++Next) {
    if (Next[0] != '\r' || Next[1] != '\n') {
      *End++ = *Next;
    }
  }
  *End = '\0';
}

VOID EFIAPI
ComposeTextOf (CHAR8 (&Text)[DebugTextMax], const CHAR8 *Format, ...)
{
  VA_LIST Args;
  VA_START (Args, Format);
  ComposeText (Text, Format, Args);
  VA_END (Args);
}

VOID
Output (DebugEntry Entry)
{
  Entry.Processor = gWorld.ExecutingProcessor (gWorld.Context);
  gWorld.DebugOutput (gWorld.Context, &Entry);
}

EFI_STATUS
RecordMessage (UINTN ErrorLevel, const CHAR8 *ModuleName, const CHAR8 *Format, VA_LIST Args)
{
  if (gWorld.IsQuiet) {
    return EFI_SUCCESS;
  }
  CHAR8 Text[DebugTextMax];
  ComposeText (Text, Format, Args);
  DebugEntry Entry = {};
  Entry.Kind = DebugMessage;
  Entry.ModuleName = ModuleName;
  Entry.Text = Text;
  Entry.Level = ErrorLevel;
  Entry.Format = Format;
  Output (Entry);
  return EFI_SUCCESS;
}

EFI_STATUS
RecordAssertion (const CHAR8 *ModuleName,
                 const CHAR8 *FileName,
                 UINTN LineNumber,
                 const CHAR8 *Description)
{
  CHAR8 Text[DebugTextMax];
  ComposeTextOf (Text, "ASSERT %a:%d %a\n", FileName, static_cast<UINT32> (LineNumber),
                 Description);
  DebugEntry Entry = {};
  Entry.Kind = DebugAssertion;
  Entry.ModuleName = ModuleName;
  Entry.Text = Text;
  Entry.FileName = FileName;
  Entry.LineNumber = LineNumber;
  Entry.Description = Description;
  Output (Entry);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI
Print (UINTN ErrorLevel, const CHAR8 *Format, VA_LIST Args)
{
  RequireForm (false);
  return RecordMessage (ErrorLevel, nullptr, Format, Args);
}

EFI_STATUS EFIAPI
PrintWithName (UINTN ErrorLevel, const CHAR8 *ModuleName, const CHAR8 *Format, VA_LIST Args)
{
  RequireForm (true);
  return RecordMessage (ErrorLevel, ModuleName, Format, Args);
}

EFI_STATUS EFIAPI
Assert (const CHAR8 *FileName, UINTN LineNumber, const CHAR8 *Description)
{
  RequireForm (false);
  return RecordAssertion (nullptr, FileName, LineNumber, Description);
}

EFI_STATUS EFIAPI
AssertWithName (const CHAR8 *ModuleName,
                const CHAR8 *FileName,
                UINTN LineNumber,
                const CHAR8 *Description)
{
  RequireForm (true);
  return RecordAssertion (ModuleName, FileName, LineNumber, Description);
}

} // namespace

VOID
DebugServiceReset ()
{
  gDebugService = {
      .Revision = SMM_DEBUG_SERVICE_REVISION_UNNAMED + 1,
      .Print = Print,
      .Assert = Assert,
      .PrintWithName = PrintWithName,
      .Reserved =
          reinterpret_cast<VOID *> (UnprovidedService<"the debug service has no entry at 32">),
      .AssertWithName = AssertWithName,
  };
  ProtocolPublish (ProtocolSmm, &gSmmDebugServiceProtocolGuid, &gDebugService);
}
