/// Reports the same error a number of times, to have its instructions counted from outside:
///
///     ErrorPathCount CLASS DEVICE-TYPE COUNT first|last|none ERRORS
#include <cstdlib>
#include <iostream>
#include <string>

#include "BenchPlatform.h"

int
main (int ArgumentCount, char **Arguments)
{
  if (ArgumentCount != 6) {
    std::cerr << "usage: ErrorPathCount CLASS DEVICE-TYPE COUNT first|last|none ERRORS\n";
    return 2;
  }
  const auto Number = [&] (int Index) { return std::strtoull (Arguments[Index], nullptr, 10); };
  const std::string Place = Arguments[4];
  BenchPlatform Platform;
  Platform.FillInventory (static_cast<UINT8> (Number (2)), Number (3),
                          Place == "first"  ? MatchPlace::First
                          : Place == "last" ? MatchPlace::Last
                                            : MatchPlace::None);
  EFI_STATUS_CODE_DATA *Data = Platform.Record (static_cast<UINT8> (Number (1)));
  for (UINTN Left = Number (5); Left > 0; --Left) {
    Platform.Report (Data);
  }
  return 0;
}
