#include "ImageCheck.h"

#include <cstring>
#include <string_view>
#include <utility>

#include <gmock/gmock.h>

#include "BuiltImage.h"
#include "Uefi/PeImage.h"

namespace {

/// A copy of the built image, open for damage.
struct Patient {
  std::vector<UINT8> Bytes = ReadBuiltFile (ImageName);
  std::vector<UINT8> Relinked = ReadBuiltFile (RelinkedImageName);

  template <typename Type>
  Type &
  At (UINTN Offset)
  {
    return *reinterpret_cast<Type *> (&Bytes.at (Offset));
  }

  DosHeader &
  Dos ()
  {
    return At<DosHeader> (0);
  }

  PeHeaders &
  Pe ()
  {
    return At<PeHeaders> (Dos ().PeOffset);
  }

  SectionHeader &
  Section (std::string_view Name)
  {
    UINTN Offset = Dos ().PeOffset + sizeof (PeHeaders);
    while (At<SectionHeader> (Offset).Name != Name) {
      Offset += sizeof (SectionHeader);
    }
    return At<SectionHeader> (Offset);
  }

  RelocationBlock &
  FirstBlock ()
  {
    return At<RelocationBlock> (Section (".reloc").FileOffset);
  }

  UINT16 &
  FirstRelocation ()
  {
    return At<UINT16> (Section (".reloc").FileOffset + sizeof (RelocationBlock));
  }
};

const struct {
  const char *Fault;
  void (*Damage) (Patient &Image);
} Cases[] = {
    {"the file has no DOS header", [] (auto &Image) { Image.Bytes.resize (63); }},
    {"the file has no DOS header", [] (auto &Image) { Image.Bytes[0] = 'Z'; }},
    {"the file has no PE header", [] (auto &Image) { Image.Pe ().Signature++; }},
    {"the image is not PE32+ for x86-64", [] (auto &Image) { Image.Pe ().Machine = 0x14C; }},
    {"the image is not PE32+ for x86-64", [] (auto &Image) { Image.Pe ().Magic = 0x10B; }},
    {"the optional header does not have 16 directories",
     [] (auto &Image) { Image.Pe ().DirectoryCount = 15; }},
    {"the headers do not fit into the file and the image",
     [] (auto &Image) { Image.Pe ().SectionCount = 1000; }},
    {"the headers do not fit into the file and the image",
     [] (auto &Image) { Image.Pe ().HeadersSize = 0x10000; }},
    {"the subsystem is not EFI boot service driver",
     [] (auto &Image) { Image.Pe ().Subsystem = 10; }},
    {"sections are not aligned to 4 KiB",
     [] (auto &Image) { Image.Pe ().SectionAlignment = 0x200; }},
    {"the image's memory is not whole pages", [] (auto &Image) { Image.Pe ().ImageSize += 0x200; }},
    {"the relocations were stripped",
     [] (auto &Image) { Image.Pe ().Characteristics |= PE_RELOCATIONS_STRIPPED; }},
    {"the image has exports", [] (auto &Image) { Image.Pe ().Directories[0].Size = 4; }},
    {"the image has imports", [] (auto &Image) { Image.Pe ().Directories[1].Address = 4; }},
    {"the image has an exception table",
     [] (auto &Image) { Image.Pe ().Directories[3].Size = 12; }},
    {"the image has thread-locals", [] (auto &Image) { Image.Pe ().Directories[9].Size = 40; }},
    {"the image has a load config", [] (auto &Image) { Image.Pe ().Directories[10].Size = 8; }},
    {"the image has delay imports", [] (auto &Image) { Image.Pe ().Directories[13].Size = 8; }},
    {"the entry point lies in no executable section",
     [] (auto &Image) { Image.Pe ().EntryPoint = 0; }},
    {"the relocations lie outside the image",
     [] (auto &Image) { Image.Pe ().Directories[5].Size = 0xFFFFF000; }},
    {"the relocations end within the head of a block",
     [] (auto &Image) { Image.Pe ().Directories[5].Size += 4; }},
    {"an absolute pointer has no relocation",
     [] (auto &Image) { Image.Pe ().Directories[5] = {}; }},
    {"a section lies outside the file",
     [] (auto &Image) { Image.Section (".rdata").FileOffset = 0xFFFFFF00; }},
    {"a section lies outside the image's memory",
     [] (auto &Image) { Image.Section (".reloc").MemorySize = 0xFFFFFF00; }},
    {"sections overlap or are out of order",
     [] (auto &Image) { Image.Section (".rdata").Address = 0x1000; }},
    {"section .text is writable and executable",
     [] (auto &Image) { Image.Section (".text").Characteristics |= PE_SECTION_WRITE; }},
    {"section .rdata begins within a page",
     [] (auto &Image) { Image.Section (".rdata").Address += 8; }},
    {"section .CRT has no place in the image",
     [] (auto &Image) { std::memcpy (Image.Section (".rdata").Name, ".CRT\0", 6); }},
    {"the file has no PE header", [] (auto &Image) { Image.Dos ().PeOffset = ~15U; }},
    {"the entry point lies in no executable section",
     [] (auto &Image) { Image.Pe ().EntryPoint = Image.Section (".rdata").Address; }},
    {"the file goes on behind its last section", [] (auto &Image) { Image.Bytes.push_back (0); }},
    {"the file has 49153 bytes, more than 49152", [] (auto &Image) { Image.Bytes.resize (49153); }},
    {"a block of relocations has a wrong size", [] (auto &Image) { Image.FirstBlock ().Size = 7; }},
    {"a block of relocations has a wrong size",
     [] (auto &Image) { Image.FirstBlock ().Size = 0x10000; }},
    {"a relocation points outside the image",
     [] (auto &Image) { Image.FirstBlock ().Page = 0xFFFFF000; }},
    {"a relocation is not of a 64-bit address",
     [] (auto &Image) { Image.FirstRelocation () = 0x3000; }},
    {"an absolute pointer has no relocation", [] (auto &Image) { Image.FirstRelocation () = 0; }},
};

TEST (ImageCheck, NamesEachFaultAndPassesTheBuiltImage)
{
  const Patient Sound;
  EXPECT_THAT (CheckImage (Sound.Bytes, Sound.Relinked), testing::IsEmpty ());
  for (const auto &Case : Cases) {
    Patient Image = Sound;
    Case.Damage (Image);
    EXPECT_THAT (CheckImage (Image.Bytes, Image.Relinked), testing::Contains (Case.Fault));
  }
}

TEST (ImageCheck, TellsTheTwinFromThatOfAnotherImage)
{
  Patient Sound;
  const std::vector<UINT8> Image = std::exchange (Sound.Bytes, ReadBuiltFile (TwinImageName));
  EXPECT_THAT (CheckTwin (Image, Sound.Bytes), testing::IsEmpty ());
  for (const std::string Name : {".text", ".rdata", ".data", ".reloc"}) {
    const std::string Fault = "the twin has another section " + Name;
    Patient Changed = Sound;
    Changed.Bytes[Changed.Section (Name).FileOffset] ^= 1;
    EXPECT_THAT (CheckTwin (Image, Changed.Bytes), testing::Contains (Fault));
    Patient Longer = Sound;
    Longer.Section (Name).MemorySize += 1;
    EXPECT_THAT (CheckTwin (Image, Longer.Bytes).empty (), Name == ".rdata");
  }
}

} // namespace
