#include "PrintText.h"

namespace {

/// Success and the warnings, by the status. (UEFI 2.10, appendix D.)
constexpr CHAR8 WarningTexts[6][25] = {
    "Success",
    "Warning Unknown Glyph",
    "Warning Delete Failure",
    "Warning Write Failure",
    "Warning Buffer Too Small",
    "Warning Stale Data",
};

/// The errors from 1 on, by the status without its top bit.
constexpr CHAR8 ErrorTexts[33][21] = {
    "Load Error",           "Invalid Parameter",  "Unsupported",
    "Bad Buffer Size",      "Buffer Too Small",   "Not Ready",
    "Device Error",         "Write Protected",    "Out of Resources",
    "Volume Corrupt",       "Volume Full",        "No Media",
    "Media changed",        "Not Found",          "Access Denied",
    "No Response",          "No mapping",         "Time out",
    "Not started",          "Already started",    "Aborted",
    "ICMP Error",           "TFTP Error",         "Protocol Error",
    "Incompatible Version", "Security Violation", "CRC Error",
    "End of Media",         "Reserved (29)",      "Reserved (30)",
    "End of File",          "Invalid Language",   "Compromised Data",
};

/// The words for a status, or null when it has none.
const CHAR8 *
FindStatusText (EFI_STATUS Status)
{
  if (!EFI_ERROR (Status)) {
    return Status < ArrayCount (WarningTexts) ? WarningTexts[Status] : nullptr;
  }
  const UINTN Number = Status - EfiErrorCode (0);
  return Number - 1 < ArrayCount (ErrorTexts) ? ErrorTexts[Number - 1] : nullptr;
}

} // namespace

VOID
PrintStatus (PrintWriter &Writer, const PrintDirective &Directive, EFI_STATUS Status)
{
  if (const CHAR8 *Text = FindStatusText (Status); Text != nullptr) {
    PrintText (Writer, Directive, Text, 0);
    return;
  }
  CHAR8 Value[MAXIMUM_VALUE_CHARACTERS];
  BasePrintLibSPrint (Value, MAXIMUM_VALUE_CHARACTERS, 0, "%08X", static_cast<UINT32> (Status));
  PrintText (Writer, Directive, Value, 0);
}
