/// The firmware file of the build, as a parser that is not ours reads it.

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BuiltImage.h"
#include "ChildProcess.h"
#include "TemporaryDirectory.h"
#include "TestMachine.h"

namespace {

using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

std::string
TextOf (const fs::path &Path)
{
  std::ifstream File (Path, std::ios::binary);
  EXPECT_TRUE (File.is_open ()) << Path;
  return {std::istreambuf_iterator<char> (File), {}};
}

/// The volume of the emulated machine, and what UEFIExtract makes of it.
class FirmwareFile : public testing::Test {
protected:
  void
  SetUp () override
  {
    const std::vector<UINT8> Volume = MachineVolume (UsualMachine ());
    std::ofstream (Path, std::ios::binary)
        .write (reinterpret_cast<const char *> (Volume.data ()),
                static_cast<std::streamsize> (Volume.size ()));
    for (const char *Mode : {"report", "all"}) {
      ChildProcess Parser ({"UEFIExtract", Path.string (), Mode}, {});
      ASSERT_EQ (Parser.WaitForEnd (Deadline (std::chrono::minutes (1))), 0);
    }
  }

  const TemporaryDirectory Directory;
  const fs::path Path = Directory.Path () / "modules.fv";
};

TEST_F (FirmwareFile, IsReadByAnotherParserAsItIsMeant)
{
  std::string Tree;
  std::istringstream Report (TextOf (Path.string () + ".report.txt"));
  for (std::string Line; std::getline (Report, Line);) {
    Line.erase (Line.find ('|', Line.find ('|') + 1) + 1, 33); // Base, size and CRC-32.
    Tree += Line.substr (0, Line.find_last_not_of (' ') + 1) + '\n';
  }
  EXPECT_THAT (TextOf (QSM_SOURCES "/docs/machine.md"), HasSubstr ("```\n" + Tree + "```\n"));

  std::string Infos;
  for (const auto &Entry : fs::recursive_directory_iterator (Path.string () + ".dump")) {
    Infos += Entry.path ().filename () == "info.txt" ? TextOf (Entry.path ()) : "";
  }
  EXPECT_THAT (Infos, HasSubstr ("Version string: " QSM_VERSION));
  EXPECT_THAT (Infos, HasSubstr ("checksum: "));
  EXPECT_THAT (Infos, Not (HasSubstr ("invalid")));
}

TEST_F (FirmwareFile, HoldsTheDeliveredBytes)
{
  std::vector<std::vector<UINT8>> Bodies;
  for (const auto &Entry : fs::recursive_directory_iterator (Path.string () + ".dump")) {
    if (Entry.path ().filename () == "body.bin") {
      const std::string Text = TextOf (Entry.path ());
      Bodies.emplace_back (Text.begin (), Text.end ());
    }
  }
  EXPECT_THAT (Bodies, testing::Contains (ReadBuiltFile (ImageName)));
  EXPECT_THAT (Bodies, testing::Contains (ReadBuiltFile ("VelmoraQsmErrorHandler.depex")));
}

} // namespace
