#include "ImageCheck.h"

#include <cstring>
#include <functional>

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

  PeHeaders &
  Headers ()
  {
    return At<PeHeaders> (At<DosHeader> (0).PeOffset);
  }

  SectionHeader &
  Section (const char *Name)
  {
    const UINTN First = At<DosHeader> (0).PeOffset + sizeof (PeHeaders);
    for (UINTN Index = 0; Index < Headers ().SectionCount; Index++) {
      auto &Header = At<SectionHeader> (First + Index * sizeof (SectionHeader));
      if (std::strncmp (Header.Name, Name, sizeof (Header.Name)) == 0) {
        return Header;
      }
    }
    throw std::out_of_range (Name);
  }

  /// Offset in the file of the relocations' first block.
  UINTN
  Relocations ()
  {
    return Section (".reloc").FileOffset;
  }
};

struct DamageCase {
  const char *Fault;
  std::function<void (Patient &)> Damage;
};

const DamageCase DamageCases[] = {
    {"the file has no DOS header", [] (Patient &Image) { Image.Bytes.resize (63); }},
    {"the file has no DOS header", [] (Patient &Image) { Image.Bytes[0] = 'Z'; }},
    {"the file has no PE header", [] (Patient &Image) { Image.Headers ().Signature++; }},
    {"the file has no PE header",
     [] (Patient &Image) { Image.At<DosHeader> (0).PeOffset = 0xFFFFFFF0; }},
    {"the image is not PE32+ for x86-64",
     [] (Patient &Image) { Image.Headers ().Machine = 0x14C; }},
    {"the image is not PE32+ for x86-64", [] (Patient &Image) { Image.Headers ().Magic = 0x10B; }},
    {"the optional header does not have 16 directories",
     [] (Patient &Image) { Image.Headers ().DirectoryCount = 15; }},
    {"the headers do not fit into the file and the image",
     [] (Patient &Image) { Image.Headers ().SectionCount = 1000; }},
    {"the headers do not fit into the file and the image",
     [] (Patient &Image) { Image.Headers ().HeadersSize = 0x10000; }},
    {"the subsystem is not EFI boot service driver",
     [] (Patient &Image) { Image.Headers ().Subsystem = 10; }},
    {"sections are not aligned to 4 KiB",
     [] (Patient &Image) { Image.Headers ().SectionAlignment = 0x200; }},
    {"the image's memory is not whole pages",
     [] (Patient &Image) { Image.Headers ().ImageSize += 0x200; }},
    {"the relocations were stripped",
     [] (Patient &Image) { Image.Headers ().Characteristics |= PE_RELOCATIONS_STRIPPED; }},
    {"the image has exports", [] (Patient &Image) { Image.Headers ().Directories[0].Size = 4; }},
    {"the image has imports", [] (Patient &Image) { Image.Headers ().Directories[1].Address = 4; }},
    {"the image has an exception table",
     [] (Patient &Image) { Image.Headers ().Directories[3].Size = 12; }},
    {"the image has thread-locals",
     [] (Patient &Image) { Image.Headers ().Directories[9].Size = 40; }},
    {"the image has a load config",
     [] (Patient &Image) { Image.Headers ().Directories[10].Size = 8; }},
    {"the image has delay imports",
     [] (Patient &Image) { Image.Headers ().Directories[13].Size = 8; }},
    {"a section lies outside the file",
     [] (Patient &Image) { Image.Section (".rdata").FileOffset = 0xFFFFFF00; }},
    {"a section lies outside the image's memory",
     [] (Patient &Image) { Image.Section (".reloc").MemorySize = 0xFFFFFF00; }},
    {"sections overlap or are out of order",
     [] (Patient &Image) { Image.Section (".rdata").Address = 0x1000; }},
    {"section .text is writable and executable",
     [] (Patient &Image) { Image.Section (".text").Characteristics |= PE_SECTION_WRITE; }},
    {"section .rdata begins within a page",
     [] (Patient &Image) { Image.Section (".rdata").Address += 8; }},
    {"section .CRT has no place in the image",
     [] (Patient &Image) { std::memcpy (Image.Section (".rdata").Name, ".CRT\0", 6); }},
    {"section .pdata has no place in the image",
     [] (Patient &Image) { std::memcpy (Image.Section (".rdata").Name, ".pdata", 6); }},
    {"the entry point lies in no executable section",
     [] (Patient &Image) { Image.Headers ().EntryPoint = Image.Section (".rdata").Address; }},
    {"the entry point lies in no executable section",
     [] (Patient &Image) { Image.Headers ().EntryPoint = 0; }},
    {"the file goes on behind its last section",
     [] (Patient &Image) { Image.Bytes.push_back (0); }},
    {"the file has 24577 bytes, more than 24576",
     [] (Patient &Image) { Image.Bytes.resize (24577); }},
    {"the relocations lie outside the image",
     [] (Patient &Image) { Image.Headers ().Directories[5].Size = 0xFFFFF000; }},
    {"a block of relocations has a wrong size",
     [] (Patient &Image) { Image.At<RelocationBlock> (Image.Relocations ()).Size = 7; }},
    {"a block of relocations has a wrong size",
     [] (Patient &Image) { Image.At<RelocationBlock> (Image.Relocations ()).Size = 0x10000; }},
    {"the relocations end within the head of a block",
     [] (Patient &Image) { Image.Headers ().Directories[5].Size += 4; }},
    {"a relocation points outside the image",
     [] (Patient &Image) { Image.At<RelocationBlock> (Image.Relocations ()).Page = 0xFFFFF000; }},
    {"a relocation is not of a 64-bit address",
     [] (Patient &Image) { Image.At<UINT16> (Image.Relocations () + 8) = 0x3000; }},
    {"an absolute pointer has no relocation",
     [] (Patient &Image) { Image.At<UINT16> (Image.Relocations () + 8) = 0; }},
    {"an absolute pointer has no relocation",
     [] (Patient &Image) {
       Image.Headers ().Directories[5] = {0, 0};
     }},
};

} // namespace

TEST (ImageCheck, PassesTheBuiltImage)
{
  const Patient Image;
  EXPECT_THAT (CheckImage (Image.Bytes, Image.Relinked), testing::IsEmpty ());
}

TEST (ImageCheck, NamesEachFault)
{
  const Patient Sound;
  ASSERT_FALSE (Sound.Bytes.empty ());
  for (const DamageCase &Case : DamageCases) {
    SCOPED_TRACE (Case.Fault);
    Patient Image = Sound;
    Case.Damage (Image);
    EXPECT_THAT (CheckImage (Image.Bytes, Image.Relinked), testing::Contains (Case.Fault));
  }
}
