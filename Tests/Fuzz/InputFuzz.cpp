/// Any bytes as input of qsmsim: each record that is found in them is no larger than a status code
/// can carry, and there is an end to them and to the complaints.

#include <cstdlib>
#include <iostream>

#include "InputFile.h"
#include "Recognition.h"

extern "C" int
LLVMFuzzerTestOneInput (const UINT8 *Input, size_t Size)
{
  ByteWindow Window (std::string (Input, Input + Size));
  const auto Reader = OpenInput (Window);
  // No record and no complaint is for nothing.
  for (size_t Left = Size + 1; Left != 0; --Left) {
    try {
      const auto Found = Reader->Next ();
      if (!Found) {
        return 0;
      }
      if (Found->Bytes.empty () || Found->Bytes.size () > RECORD_SIZE_MAX) {
        std::cerr << "broken: a record of " << Found->Bytes.size () << " bytes\n";
        std::abort ();
      }
    } catch (const InputError &) {
    }
  }
  std::cerr << "broken: there is no end\n";
  std::abort ();
}
