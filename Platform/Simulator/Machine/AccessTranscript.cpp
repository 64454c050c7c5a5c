#include "AccessTranscript.h"

#include <iomanip>
#include <sstream>

void
RecordAccess (
    AccessTranscript *Transcript, const char *Operation, UINTN Address, UINTN Width, UINT32 Value)
{
  if (Transcript == nullptr) {
    return;
  }
  std::ostringstream Line;
  Line << std::hex << std::uppercase << Operation << " " << Address << " "
       << std::setw (static_cast<int> (2 * Width)) << std::setfill ('0') << Value;
  Transcript->push_back (Line.str ());
}
