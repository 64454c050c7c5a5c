#include "BaseLib.h"
#include "PrintText.h"
#include "Unaligned.h"

namespace {

/// Reads 16 bits at any address.
UINT16
Read16 (const UINT8 *Bytes)
{
  return ReadUnaligned16 (reinterpret_cast<const UINT16 *> (Bytes));
}

} // namespace

VOID
PrintGuid (PrintWriter &Writer, const PrintDirective &Directive, const EFI_GUID *Guid)
{
  if (Guid == nullptr) {
    PrintText (Writer, Directive, "<null guid>", 0);
    return;
  }

  const auto *Bytes = reinterpret_cast<const UINT8 *> (Guid);
  const auto *Data1 =
      reinterpret_cast<const Unaligned<UINT32> *> (Bytes + offsetof (EFI_GUID, Data1));
  const UINT8 *Data4 = Bytes + offsetof (EFI_GUID, Data4);
  CHAR8 Value[MAXIMUM_VALUE_CHARACTERS];
  BasePrintLibSPrint (Value, MAXIMUM_VALUE_CHARACTERS, 0,
                      "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", Data1->Value,
                      Read16 (Bytes + offsetof (EFI_GUID, Data2)),
                      Read16 (Bytes + offsetof (EFI_GUID, Data3)), Data4[0], Data4[1], Data4[2],
                      Data4[3], Data4[4], Data4[5], Data4[6], Data4[7]);
  PrintText (Writer, Directive, Value, 0);
}

VOID
PrintTime (PrintWriter &Writer, const PrintDirective &Directive, const EFI_TIME *Time)
{
  if (Time == nullptr) {
    PrintText (Writer, Directive, "<null time>", 0);
    return;
  }

  CHAR8 Value[MAXIMUM_VALUE_CHARACTERS];
  BasePrintLibSPrint (Value, MAXIMUM_VALUE_CHARACTERS, 0, "%02d/%02d/%04d  %02d:%02d", Time->Month,
                      Time->Day, Time->Year, Time->Hour, Time->Minute);
  PrintText (Writer, Directive, Value, 0);
}
