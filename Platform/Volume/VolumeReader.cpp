#include "VolumeReader.h"

#include "Identity.h"

namespace {

/// A volume whose header is sound: Size is its length.
struct Volume {
  const UINT8 *Bytes;
  UINT64 Size;

  [[nodiscard]] VolumeFault
  Fault (const CHAR8 *Text, const VOID *Place) const
  {
    return {Text, static_cast<UINT64> (static_cast<const UINT8 *> (Place) - Bytes)};
  }
};

bool
IsErased (const UINT8 *Bytes, UINT64 Size)
{
  for (UINT64 Index = 0; Index < Size; ++Index) {
    if (Bytes[Index] != FFS_ERASED_BYTE) {
      return false;
    }
  }
  return true;
}

/// The blocks have to make up the volume, and the map has to end with the header.
VolumeFault
CheckBlockMap (const EFI_FIRMWARE_VOLUME_HEADER &Header)
{
  constexpr UINT64 MapOffset = offsetof (EFI_FIRMWARE_VOLUME_HEADER, BlockMap);
  const UINTN Count = (Header.HeaderLength - MapOffset) / sizeof (EFI_FV_BLOCK_MAP_ENTRY);
  UINT64 Length = 0;
  for (UINTN Index = 0; Index + 1 < Count; ++Index) {
    Length += UINT64{Header.BlockMap[Index].NumBlocks} * Header.BlockMap[Index].Length;
  }
  const EFI_FV_BLOCK_MAP_ENTRY &Last = Header.BlockMap[Count - 1];
  if (Last.NumBlocks != 0 || Last.Length != 0 || Length != Header.FvLength) {
    return {"the block map does not make up the volume", MapOffset};
  }
  return {};
}

VolumeFault
OpenVolume (const UINT8 *Bytes, UINTN Size, Volume &Opened)
{
  const auto *Start = reinterpret_cast<const EFI_FIRMWARE_VOLUME_HEADER *> (Bytes);
  if (Size < sizeof *Start || Start->Signature != EFI_FVH_SIGNATURE) {
    return {"there is no volume header", 0};
  }
  const EFI_FIRMWARE_VOLUME_HEADER &Header = *Start;
  if (Header.HeaderLength < sizeof Header || Header.HeaderLength > Size ||
      Header.HeaderLength % sizeof (EFI_FV_BLOCK_MAP_ENTRY) != 0) {
    return {"the volume header's length is wrong",
            offsetof (EFI_FIRMWARE_VOLUME_HEADER, HeaderLength)};
  }
  if (FirmwareSum16 (Bytes, Header.HeaderLength) != 0) {
    return {"the volume header's checksum is wrong",
            offsetof (EFI_FIRMWARE_VOLUME_HEADER, Checksum)};
  }
  if (!IsSameGuid (Header.FileSystemGuid, gEfiFirmwareFileSystem2Guid) ||
      Header.Revision != EFI_FVH_REVISION || (Header.Attributes & EFI_FVB2_ERASE_POLARITY) == 0 ||
      Header.ExtHeaderOffset != 0) {
    return {"the volume is of another kind", 0};
  }
  if (Header.FvLength < Header.HeaderLength || Header.FvLength > Size) {
    return {"the volume's length is wrong", offsetof (EFI_FIRMWARE_VOLUME_HEADER, FvLength)};
  }
  Opened = {Bytes, Header.FvLength};
  return CheckBlockMap (Header);
}

VolumeFault
CheckFile (const Volume &In, const EFI_FFS_FILE_HEADER *File, UINT64 Room)
{
  const UINT32 Size = FirmwareSize (File->Size);
  const auto *Bytes = reinterpret_cast<const UINT8 *> (File);
  if (FirmwareHeaderSum (*File) != 0) {
    return In.Fault ("a file header's checksum is wrong", File);
  }
  if (File->State != FFS_VALID_STATE || (File->Attributes & FFS_ATTRIB_LARGE_FILE) != 0) {
    return In.Fault ("a file is deleted, large or not complete", File);
  }
  if (Size < sizeof *File || Size > Room) {
    return In.Fault ("a file's size is wrong", File);
  }
  const UINT8 Expected =
      (File->Attributes & FFS_ATTRIB_CHECKSUM) == 0
          ? FFS_FIXED_CHECKSUM
          : static_cast<UINT8> (-FirmwareSum8 (Bytes + sizeof *File, Size - sizeof *File));
  if (File->FileChecksum != Expected) {
    return In.Fault ("a file's checksum is wrong", File);
  }
  return {};
}

/// Where a section's body goes; null for a section that nobody asks for.
FilePart *
PartOf (SmmModule &Module, UINT8 SectionType)
{
  switch (SectionType) {
  case EFI_SECTION_MM_DEPEX:
    return &Module.Dependency;
  case EFI_SECTION_PE32:
    return &Module.Image;
  case EFI_SECTION_USER_INTERFACE:
    return &Module.Title;
  default:
    return nullptr;
  }
}

/// Whether a title is whole characters from blank to tilde, and a NUL behind them.
bool
IsTitle (const FilePart &Title)
{
  if (Title.Size < sizeof (CHAR16) || Title.Size % sizeof (CHAR16) != 0) {
    return false;
  }
  const UINTN End = Title.Size - sizeof (CHAR16);
  for (UINTN Offset = 0; Offset < End; Offset += sizeof (CHAR16)) {
    const UINT8 Low = Title.Bytes[Offset];
    if (Low < ' ' || Low > '~' || Title.Bytes[Offset + 1] != 0) {
      return false;
    }
  }
  return Title.Bytes[End] == 0 && Title.Bytes[End + 1] == 0;
}

VolumeFault
ReadModule (const Volume &In, const EFI_FFS_FILE_HEADER *File, SmmModule &Module)
{
  Module = {.Name = File->Name, .Dependency = {}, .Image = {}, .Title = {}};
  const auto *Body = reinterpret_cast<const UINT8 *> (File + 1);
  const UINT64 BodySize = FirmwareSize (File->Size) - sizeof *File;
  for (UINT64 Offset = 0; Offset < BodySize;) {
    const auto *Section = reinterpret_cast<const EFI_COMMON_SECTION_HEADER *> (Body + Offset);
    const UINT64 Room = BodySize - Offset;
    if (Room < sizeof *Section || FirmwareSize (Section->Size) < sizeof *Section ||
        FirmwareSize (Section->Size) > Room) {
      return In.Fault ("a section's size is wrong", Section);
    }
    const UINT64 Size = FirmwareSize (Section->Size);
    if (FilePart *Part = PartOf (Module, Section->Type); Part != nullptr) {
      if (Part->Bytes != nullptr) {
        return In.Fault ("a module has a section twice", Section);
      }
      *Part = {Body + Offset + sizeof *Section, Size - sizeof *Section};
    }
    Offset = FirmwareAlign (Offset + Size, EFI_SECTION_ALIGNMENT);
  }
  if (Module.Image.Bytes == nullptr) {
    return In.Fault ("a module has no image", File);
  }
  if (Module.Title.Bytes != nullptr && !IsTitle (Module.Title)) {
    return In.Fault ("a module's title is not printable text with a NUL", Module.Title.Bytes);
  }
  return {};
}

/// Checks the file at Offset; Next is where the one behind it begins.
VolumeFault
ReadFile (
    const Volume &In, UINT64 Offset, SmmModule *Modules, UINTN Limit, UINTN &Count, UINT64 &Next)
{
  const auto *File = reinterpret_cast<const EFI_FFS_FILE_HEADER *> (In.Bytes + Offset);
  if (const VolumeFault Fault = CheckFile (In, File, In.Size - Offset); Fault.Text != nullptr) {
    return Fault;
  }
  Next = FirmwareAlign (Offset + FirmwareSize (File->Size), EFI_FV_FILE_ALIGNMENT);
  if (File->Type != EFI_FV_FILETYPE_MM) {
    return {};
  }
  if (Count == Limit) {
    return In.Fault ("there are too many modules", File);
  }
  return ReadModule (In, File, Modules[Count++]);
}

} // namespace

VolumeFault
ReadVolume (const UINT8 *Bytes, UINTN Size, SmmModule *Modules, UINTN Limit, UINTN &Count)
{
  Count = 0;
  Volume In;
  if (const VolumeFault Fault = OpenVolume (Bytes, Size, In); Fault.Text != nullptr) {
    return Fault;
  }
  const auto &Header = *reinterpret_cast<const EFI_FIRMWARE_VOLUME_HEADER *> (Bytes);
  UINT64 Offset = FirmwareAlign (Header.HeaderLength, EFI_FV_FILE_ALIGNMENT);
  while (Offset < In.Size) {
    const UINT64 Room = In.Size - Offset;
    if (Room < sizeof (EFI_FFS_FILE_HEADER) ||
        IsErased (Bytes + Offset, sizeof (EFI_FFS_FILE_HEADER))) {
      return IsErased (Bytes + Offset, Room)
                 ? VolumeFault{}
                 : VolumeFault{"what is free of the volume is not erased", Offset};
    }
    const VolumeFault Fault = ReadFile (In, Offset, Modules, Limit, Count, Offset);
    if (Fault.Text != nullptr) {
      return Fault;
    }
  }
  return {};
}
