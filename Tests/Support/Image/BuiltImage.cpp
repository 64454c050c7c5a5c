#include "BuiltImage.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

std::vector<UINT8>
ReadBuiltFile (const char *Name)
{
  const char *Directory = std::getenv ("QSM_IMAGE_DIRECTORY");
  const std::string Path =
      std::string (Directory != nullptr ? Directory : QSM_IMAGE_DIRECTORY) + "/" + Name;
  std::ifstream File (Path, std::ios::binary);
  EXPECT_TRUE (File.is_open ()) << "no " << Path << "; scripts/image builds it";
  return {std::istreambuf_iterator<char> (File), {}};
}
