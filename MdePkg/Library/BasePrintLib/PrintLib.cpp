#include "PrintLib.h"

UINTN EFIAPI
AsciiSPrint (CHAR8 *StartOfBuffer, UINTN BufferSize, const CHAR8 *FormatString, ...)
{
  VA_LIST Marker;
  VA_START (Marker, FormatString);
  const UINTN Length =
      BasePrintLibSPrintMarker (StartOfBuffer, BufferSize, 0, FormatString, Marker);
  VA_END (Marker);
  return Length;
}
