/// The firmware file of the build, as a parser that is not ours reads it.

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "BuiltImage.h"
#include "ChildProcess.h"
#include "TemporaryDirectory.h"
#include "VolumeWriter.h"

namespace {

using testing::ElementsAre;
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

/// A volume of the built modules, and what UEFIExtract makes of it.
class FirmwareFile : public testing::Test {
protected:
  void
  SetUp () override
  {
    const std::vector<FirmwareBytes> Files = {ReadBuiltFile ("VelmoraQsmErrorHandler.ffs"),
                                              ReadBuiltFile ("SystemInventory.ffs")};
    const FirmwareBytes Volume = MakeVolume (Files);
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
  std::vector<std::string> Nodes;
  std::istringstream Report (TextOf (Path.string () + ".report.txt"));
  for (std::string Line; std::getline (Report, Line);) {
    std::vector<std::string> Fields;
    std::istringstream Text (Line);
    for (std::string Field; std::getline (Text, Field, '|');) {
      const std::size_t First = Field.find_first_not_of (" -");
      Fields.push_back (First == std::string::npos
                            ? ""
                            : Field.substr (First, Field.find_last_not_of (' ') - First + 1));
    }
    Nodes.push_back (Fields[0] + ", " + Fields[1] + ", " + Fields.back ());
  }
  EXPECT_THAT (
      Nodes, ElementsAre ("Type, Subtype, Name", "Image, UEFI, UEFI image",
                          "Volume, FFSv2, 8C8CE578-8A3D-4F1C-9935-896185C32DD3",
                          "File, Pad, Padding file", "File, SMM module, VelmoraQsmErrorHandler",
                          "Section, MM dependency, MM dependency section",
                          "Section, PE32 image, PE32 image section", "Section, UI, UI section",
                          "Section, Version, Version section", "File, Pad, Padding file",
                          "File, SMM module, SystemInventory",
                          "Section, MM dependency, MM dependency section",
                          "Section, PE32 image, PE32 image section", "Section, UI, UI section",
                          "Section, Version, Version section", "Free space, , Volume free space"));

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
  std::vector<FirmwareBytes> Bodies;
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
