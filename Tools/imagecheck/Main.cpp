/// imagecheck IMAGE RELINKED: a step of the image's build. Prints what is wrong with the image;
/// exit status 1 if anything is.

#include <cstdio>
#include <fstream>
#include <iterator>

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
  if (ArgumentCount != 3) {
    std::fputs ("usage: imagecheck IMAGE RELINKED\n", stderr);
    return 2;
  }
  const std::vector<UINT8> Image = ReadFile (Arguments[1]);
  const std::vector<UINT8> Relinked = ReadFile (Arguments[2]);
  const std::vector<std::string> Faults = CheckImage (Image, Relinked);
  for (const std::string &Fault : Faults) {
    std::fprintf (stderr, "%s: %s\n", Arguments[1], Fault.c_str ());
  }
  return Faults.empty () ? 0 : 1;
}
