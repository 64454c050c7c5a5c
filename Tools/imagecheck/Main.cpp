/// imagecheck IMAGE RELINKED TWIN: a step of the image's build. Prints what is wrong with the image
/// and with its twin for debuggers; exit status 1 if anything is.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string_view>

#include "ImageCheck.h"

namespace {

std::vector<UINT8>
ReadFile (const char *Path)
{
  std::ifstream File (Path, std::ios::binary);
  return {std::istreambuf_iterator<char> (File), {}};
}

} // namespace

int
main (int ArgumentCount, char **Arguments)
{
  if (ArgumentCount == 2 && std::string_view (Arguments[1]) == "--version") {
    std::puts ("imagecheck " QSM_VERSION);
    return 0;
  }
  if (ArgumentCount != 4) {
    std::fputs ("usage: imagecheck IMAGE RELINKED TWIN\n       imagecheck --version\n", stderr);
    return 2;
  }
  const std::vector<UINT8> Image = ReadFile (Arguments[1]);
  const std::vector<UINT8> Relinked = ReadFile (Arguments[2]);
  const std::vector<UINT8> Twin = ReadFile (Arguments[3]);
  std::vector<std::string> Faults = CheckImage (Image, Relinked);
  std::ranges::copy (CheckTwin (Image, Twin), std::back_inserter (Faults));
  for (const std::string &Fault : Faults) {
    std::fprintf (stderr, "%s: %s\n", Arguments[1], Fault.c_str ());
  }
  return Faults.empty () ? 0 : 1;
}
