#include "ImageLoader.h"

namespace {

/// Whether Size bytes at Start end within Limit.
bool
IsWithin (UINT64 Start, UINT64 Size, UINT64 Limit)
{
  return Start <= Limit && Size <= Limit - Start;
}

const CHAR8 *
CheckSections (const ImageFile &Image, UINTN FileSize)
{
  const PeHeaders &Headers = *Image.Headers;
  UINT64 PreviousEnd = Headers.HeadersSize;
  for (UINTN Index = 0; Index < Headers.SectionCount; Index++) {
    const SectionHeader &Section = Image.Sections[Index];
    if (!IsWithin (Section.FileOffset, Section.FileSize, FileSize)) {
      return "a section lies outside the file";
    }
    if (Section.Address < PreviousEnd) {
      return "sections overlap or are out of order";
    }
    if (!IsWithin (Section.Address, Section.MemorySize, Headers.ImageSize)) {
      return "a section lies outside the image's memory";
    }
    PreviousEnd = UINT64{Section.Address} + Section.MemorySize;
  }
  return nullptr;
}

bool
IsEntryCode (const ImageFile &Image)
{
  for (UINTN Index = 0; Index < Image.Headers->SectionCount; Index++) {
    const SectionHeader &Section = Image.Sections[Index];
    if ((Section.Characteristics & PE_SECTION_EXECUTE) != 0 &&
        Image.Headers->EntryPoint - Section.Address < Section.MemorySize) {
      return true;
    }
  }
  return false;
}

/// Adds Delta to the pointers that one block lists.
const CHAR8 *
RelocateBlock (const RelocationBlock &Block,
               const UINT8 *Entries,
               UINT8 *Memory,
               UINT64 ImageSize,
               UINT64 Delta)
{
  for (UINTN Offset = 0; Offset < Block.Size - sizeof (Block); Offset += sizeof (UINT16)) {
    UINT16 Entry;
    __builtin_memcpy (&Entry, Entries + Offset, sizeof (Entry));
    const UINT16 Type = Entry >> 12;
    const UINT64 Target = UINT64{Block.Page} + (Entry & 0xFFF);
    if (Type == PE_RELOCATION_PADDING) {
      continue;
    }
    if (Type != PE_RELOCATION_ADDRESS64) {
      return "a relocation is not of a 64-bit address";
    }
    UINT64 Pointer;
    if (!IsWithin (Target, sizeof (Pointer), ImageSize)) {
      return "a relocation points outside the image";
    }
    __builtin_memcpy (&Pointer, Memory + Target, sizeof (Pointer));
    Pointer += Delta;
    __builtin_memcpy (Memory + Target, &Pointer, sizeof (Pointer));
  }
  return nullptr;
}

} // namespace

const CHAR8 *
OpenImage (const UINT8 *Bytes, UINTN Size, ImageFile &Image)
{
  const auto *Dos = reinterpret_cast<const DosHeader *> (Bytes);
  if (Size < sizeof (DosHeader) || Dos->Signature != DOS_SIGNATURE) {
    return "the file has no DOS header";
  }
  const auto *Headers = reinterpret_cast<const PeHeaders *> (Bytes + Dos->PeOffset);
  if (!IsWithin (Dos->PeOffset, sizeof (PeHeaders), Size) || Headers->Signature != PE_SIGNATURE) {
    return "the file has no PE header";
  }
  if (Headers->Machine != PE_MACHINE_X64 || Headers->Magic != PE_MAGIC_PE32_PLUS) {
    return "the image is not PE32+ for x86-64";
  }
  if (Headers->OptionalHeaderSize != sizeof (PeHeaders) - offsetof (PeHeaders, Magic) ||
      Headers->DirectoryCount != PE_DIRECTORY_COUNT) {
    return "the optional header does not have 16 directories";
  }
  const UINT64 SectionsStart = UINT64{Dos->PeOffset} + sizeof (PeHeaders);
  const UINT64 SectionsSize = Headers->SectionCount * sizeof (SectionHeader);
  if (!IsWithin (SectionsStart, SectionsSize, Headers->HeadersSize) ||
      !IsWithin (0, Headers->HeadersSize, Size) ||
      !IsWithin (0, Headers->HeadersSize, Headers->ImageSize)) {
    return "the headers do not fit into the file and the image";
  }
  const PeDirectory &Relocations = Headers->Directories[PE_DIRECTORY_RELOCATION];
  if (!IsWithin (Relocations.Address, Relocations.Size, Headers->ImageSize)) {
    return "the relocations lie outside the image";
  }
  Image = {Bytes, Headers, reinterpret_cast<const SectionHeader *> (Bytes + SectionsStart)};
  const CHAR8 *Fault = CheckSections (Image, Size);
  return Fault == nullptr && !IsEntryCode (Image) ? "the entry point lies in no executable section"
                                                  : Fault;
}

const CHAR8 *
PlaceImage (const ImageFile &Image, UINT8 *Memory, UINT64 LoadAddress)
{
  const PeHeaders &Headers = *Image.Headers;
  if ((Headers.Characteristics & PE_RELOCATIONS_STRIPPED) != 0 &&
      LoadAddress != Headers.ImageBase) {
    return "the relocations were stripped";
  }
  __builtin_memset (Memory, 0, Headers.ImageSize);
  __builtin_memcpy (Memory, Image.Bytes, Headers.HeadersSize);
  for (UINTN Index = 0; Index < Headers.SectionCount; Index++) {
    const SectionHeader &Section = Image.Sections[Index];
    const UINT32 Filled =
        Section.FileSize < Section.MemorySize ? Section.FileSize : Section.MemorySize;
    __builtin_memcpy (Memory + Section.Address, Image.Bytes + Section.FileOffset, Filled);
  }

  const UINT64 HeadersOffset =
      static_cast<UINT64> (reinterpret_cast<const UINT8 *> (Image.Headers) - Image.Bytes);
  reinterpret_cast<PeHeaders *> (Memory + HeadersOffset)->ImageBase = LoadAddress;

  // An image without absolute pointers has no relocations at all.
  const PeDirectory &Table = Headers.Directories[PE_DIRECTORY_RELOCATION];
  UINT64 Offset = 0;
  while (Offset < Table.Size) {
    RelocationBlock Block;
    if (!IsWithin (Offset, sizeof (Block), Table.Size)) {
      return "the relocations end within the head of a block";
    }
    const UINT8 *Head = Memory + Table.Address + Offset;
    __builtin_memcpy (&Block, Head, sizeof (Block));
    if (Block.Size < sizeof (Block) || Block.Size % sizeof (UINT32) != 0 ||
        !IsWithin (Offset, Block.Size, Table.Size)) {
      return "a block of relocations has a wrong size";
    }
    const CHAR8 *Fault = RelocateBlock (Block, Head + sizeof (Block), Memory, Headers.ImageSize,
                                        LoadAddress - Headers.ImageBase);
    if (Fault != nullptr) {
      return Fault;
    }
    Offset += Block.Size;
  }
  return nullptr;
}
