/// Volumes that are sound are read as they were made; each way to spoil one is refused, with where.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "SealVolume.h"
#include "VolumeReader.h"

namespace {

constexpr EFI_GUID FirstName = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr EFI_GUID SecondName = {12, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
constexpr UINT64 FirstFile = 0x1000;
constexpr UINT64 SecondFile = 0x2000;

SmmModuleFile
Module (const EFI_GUID &Name)
{
  // An odd size, so that the sections behind it need their padding.
  return {.Name = Name,
          .Title = "Module",
          .Version = "1.2",
          .Dependency = {EFI_DEP_TRUE, EFI_DEP_END},
          .Image = FirmwareBytes (1001, 0x5A)};
}

FirmwareBytes
TwoModules ()
{
  return MakeVolume (
      std::vector{MakeModuleFile (Module (FirstName)), MakeModuleFile (Module (SecondName))});
}

template <typename Record>
Record &
At (FirmwareBytes &Volume, UINT64 Offset)
{
  return *reinterpret_cast<Record *> (Volume.data () + Offset);
}

TEST (VolumeReader, FindsTheModulesAsTheyWereMade)
{
  const FirmwareBytes Volume = TwoModules ();
  SmmModule Modules[2];
  UINTN Count = 0;
  const VolumeFault Fault = ReadVolume (Volume.data (), Volume.size (), Modules, 2, Count);
  ASSERT_EQ (Fault.Text, nullptr) << Fault.Text;
  ASSERT_EQ (Count, 2);
  EXPECT_EQ (std::memcmp (&Modules[0].Name, &FirstName, sizeof FirstName), 0);
  EXPECT_EQ (std::memcmp (&Modules[1].Name, &SecondName, sizeof SecondName), 0);
  const SmmModule &Last = Modules[1];
  EXPECT_EQ (FirmwareBytes (Last.Image.Bytes, Last.Image.Bytes + Last.Image.Size),
             Module (SecondName).Image);
  EXPECT_EQ (FirmwareBytes (Last.Dependency.Bytes, Last.Dependency.Bytes + Last.Dependency.Size),
             Module (SecondName).Dependency);
  EXPECT_EQ (std::memcmp (Last.Title.Bytes, u"Module", Last.Title.Size), 0);
}

struct Spoiled {
  const char *Text;
  UINT64 Offset;
  std::function<void (FirmwareBytes &)> Spoil;
  bool IsSealed = true;
};

using Header = EFI_FIRMWARE_VOLUME_HEADER;
using File = EFI_FFS_FILE_HEADER;
using Section = EFI_COMMON_SECTION_HEADER;
constexpr UINT64 FirstSection = FirstFile + sizeof (File);
constexpr UINT64 ImageSection = FirstSection + 8;
constexpr UINT64 TitleSection = ImageSection + 1008;
const Spoiled SpoiledVolumes[] = {
    {"there is no volume header", 0, [] (auto &Volume) { Volume.resize (63); }, false},
    {"there is no volume header", 0, [] (auto &Volume) { At<Header> (Volume, 0).Signature++; }},
    {"the volume header's length is wrong", 48,
     [] (auto &Volume) { At<Header> (Volume, 0).HeaderLength = 70; }},
    {"the volume header's length is wrong", 48,
     [] (auto &Volume) { At<Header> (Volume, 0).HeaderLength = 0xFFF8; }},
    {"the volume header's checksum is wrong", 50,
     [] (auto &Volume) { At<Header> (Volume, 0).ZeroVector[3]++; }, false},
    {"the volume is of another kind", 0, [] (auto &Volume) { Volume[16]++; }},
    {"the volume is of another kind", 0, [] (auto &Volume) { At<Header> (Volume, 0).Revision++; }},
    {"the volume is of another kind", 0,
     [] (auto &Volume) { At<Header> (Volume, 0).ExtHeaderOffset = 72; }},
    {"the volume is of another kind", 0,
     [] (auto &Volume) { At<Header> (Volume, 0).Attributes &= ~EFI_FVB2_ERASE_POLARITY; }},
    {"the volume's length is wrong", 32, [] (auto &Volume) { Volume.pop_back (); }, false},
    {"the volume's length is wrong", 32,
     [] (auto &Volume) { At<Header> (Volume, 0).FvLength = 71; }},
    {"the block map does not make up the volume", 56,
     [] (auto &Volume) { At<Header> (Volume, 0).BlockMap[0].NumBlocks++; }},
    {"the block map does not make up the volume", 56,
     [] (auto &Volume) { At<Header> (Volume, 0).HeaderLength = 64; }},
    {"a file header's checksum is wrong", FirstFile,
     [] (auto &Volume) { At<File> (Volume, FirstFile).Type++; }, false},
    {"a file is deleted, large or not complete", FirstFile,
     [] (auto &Volume) { At<File> (Volume, FirstFile).State = 0xE8; }},
    {"a file is deleted, large or not complete", FirstFile,
     [] (auto &Volume) { At<File> (Volume, FirstFile).Attributes |= FFS_ATTRIB_LARGE_FILE; }},
    {"a file's size is wrong", FirstFile,
     [] (auto &Volume) { At<File> (Volume, FirstFile).Size[2] = 1; }},
    {"a file's size is wrong", FirstFile,
     [] (auto &Volume) {
       At<File> (Volume, FirstFile).Size[0] = sizeof (File) - 1;
       At<File> (Volume, FirstFile).Size[1] = 0;
     }},
    {"a file's checksum is wrong", FirstFile, [] (auto &Volume) { Volume[ImageSection + 9]++; },
     false},
    {"a file's checksum is wrong", FirstFile,
     [] (auto &Volume) { At<File> (Volume, FirstFile).Attributes = 0; }},
    {"a section's size is wrong", FirstSection,
     [] (auto &Volume) { At<Section> (Volume, FirstSection).Size[0] = 3; }},
    {"a section's size is wrong", FirstSection,
     [] (auto &Volume) { At<Section> (Volume, FirstSection).Size[1] = 0x10; }},
    {"a module has a section twice", ImageSection,
     [] (auto &Volume) { At<Section> (Volume, ImageSection).Type = EFI_SECTION_MM_DEPEX; }},
    {"a module has no image", FirstFile,
     [] (auto &Volume) { At<Section> (Volume, ImageSection).Type = EFI_SECTION_VERSION; }},
    {"a module's title is not printable text with a NUL", TitleSection + 4,
     [] (auto &Volume) { Volume[TitleSection + 4] = '\n'; }},
    {"a module's title is not printable text with a NUL", TitleSection + 4,
     [] (auto &Volume) { Volume[TitleSection + 4 + sizeof u"Module" - 2] = 1; }},
    {"what is free of the volume is not erased", 0x2438, [] (auto &Volume) { Volume.back () = 0; }},
};

TEST (VolumeReader, RefusesWhatIsSpoiledAndSaysWhere)
{
  for (const Spoiled &Row : SpoiledVolumes) {
    FirmwareBytes Volume = TwoModules ();
    Row.Spoil (Volume);
    if (Row.IsSealed) {
      SealVolume (Volume);
    }
    SmmModule Modules[2];
    UINTN Count = 0;
    const VolumeFault Fault = ReadVolume (Volume.data (), Volume.size (), Modules, 2, Count);
    EXPECT_STREQ (Fault.Text, Row.Text);
    EXPECT_EQ (Fault.Offset, Row.Offset) << Row.Text;
  }
  SmmModule One;
  UINTN Count = 0;
  const FirmwareBytes Volume = TwoModules ();
  const VolumeFault Fault = ReadVolume (Volume.data (), Volume.size (), &One, 1, Count);
  EXPECT_STREQ (Fault.Text, "there are too many modules");
  EXPECT_EQ (Fault.Offset, SecondFile);
}

} // namespace
