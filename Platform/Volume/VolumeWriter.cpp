#include "VolumeWriter.h"

#include <cstring>
#include <stdexcept>

namespace {

constexpr UINT32 BlockSize = 0x1000;
constexpr UINT32 SizeLimit = 1 << 24;

/// The name of every padding file.
constexpr EFI_GUID PaddingName = {
    0xFFFFFFFF, 0xFFFF, 0xFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};

/// The header of a volume with one kind of blocks.
struct [[gnu::packed]] VolumeHead {
  EFI_FIRMWARE_VOLUME_HEADER Header;
  EFI_FV_BLOCK_MAP_ENTRY MapEnd;
};
LAYOUT_SIZE (VolumeHead, 72);

template <typename Record>
void
Append (FirmwareBytes &To, const Record &Data)
{
  const auto *Bytes = reinterpret_cast<const UINT8 *> (&Data);
  To.insert (To.end (), Bytes, Bytes + sizeof Data);
}

void
SetSize (UINT8 (&Field)[3], std::size_t Size)
{
  if (Size >= SizeLimit) {
    throw std::length_error ("a firmware file or section has 16 MiB or more");
  }
  for (unsigned Byte = 0; Byte < sizeof Field; ++Byte) {
    Field[Byte] = static_cast<UINT8> (Size >> 8 * Byte);
  }
}

void
AppendSection (FirmwareBytes &To, UINT8 Type, const FirmwareBytes &Body)
{
  To.resize (FirmwareAlign (To.size (), EFI_SECTION_ALIGNMENT));
  EFI_COMMON_SECTION_HEADER Header = {.Size = {}, .Type = Type};
  SetSize (Header.Size, sizeof Header + Body.size ());
  Append (To, Header);
  To.insert (To.end (), Body.begin (), Body.end ());
}

/// ASCII as UTF-16 with a NUL.
void
AppendText (FirmwareBytes &To, std::string_view Text)
{
  for (const char Character : Text) {
    Append (To, static_cast<CHAR16> (Character));
  }
  Append (To, CHAR16{0});
}

void
SetHeaderChecksum (EFI_FFS_FILE_HEADER &Header)
{
  Header.HeaderChecksum = static_cast<UINT8> (Header.HeaderChecksum - FirmwareHeaderSum (Header));
}

FirmwareBytes
MakeFile (const EFI_GUID &Name, UINT8 Type, const FirmwareBytes &Body)
{
  EFI_FFS_FILE_HEADER Header = {.Name = Name,
                                .HeaderChecksum = 0,
                                .FileChecksum = FFS_FIXED_CHECKSUM,
                                .Type = Type,
                                .Attributes = 0,
                                .Size = {},
                                .State = FFS_VALID_STATE};
  SetSize (Header.Size, sizeof Header + Body.size ());
  // The body of a padding file is what is erased: nobody checks it.
  if (Type != EFI_FV_FILETYPE_FFS_PAD) {
    Header.Attributes = FFS_ATTRIB_CHECKSUM;
    Header.FileChecksum = static_cast<UINT8> (-FirmwareSum8 (Body.data (), Body.size ()));
  }
  SetHeaderChecksum (Header);
  FirmwareBytes File;
  Append (File, Header);
  File.insert (File.end (), Body.begin (), Body.end ());
  return File;
}

/// Fills up to the next block with a padding file, or, where none fits, up to the block behind.
void
PadToBlock (FirmwareBytes &Volume)
{
  Volume.resize (FirmwareAlign (Volume.size (), EFI_FV_FILE_ALIGNMENT), FFS_ERASED_BYTE);
  std::size_t Room = (BlockSize - Volume.size () % BlockSize) % BlockSize;
  if (Room == 0) {
    return;
  }
  if (Room < sizeof (EFI_FFS_FILE_HEADER)) {
    Room += BlockSize;
  }
  const FirmwareBytes Padding =
      MakeFile (PaddingName, EFI_FV_FILETYPE_FFS_PAD,
                FirmwareBytes (Room - sizeof (EFI_FFS_FILE_HEADER), FFS_ERASED_BYTE));
  Volume.insert (Volume.end (), Padding.begin (), Padding.end ());
}

VolumeHead
MakeHead (std::size_t BlockCount)
{
  VolumeHead Head = {};
  Head.Header.FileSystemGuid = gEfiFirmwareFileSystem2Guid;
  Head.Header.FvLength = BlockCount * BlockSize;
  Head.Header.Signature = EFI_FVH_SIGNATURE;
  Head.Header.Attributes = EFI_FVB2_USUAL_ATTRIBUTES;
  Head.Header.HeaderLength = sizeof Head;
  Head.Header.Revision = EFI_FVH_REVISION;
  Head.Header.BlockMap[0] = {.NumBlocks = static_cast<UINT32> (BlockCount), .Length = BlockSize};
  Head.Header.Checksum =
      static_cast<UINT16> (-FirmwareSum16 (reinterpret_cast<const UINT8 *> (&Head), sizeof Head));
  return Head;
}

} // namespace

FirmwareBytes
DependencyOnAll (std::span<const EFI_GUID *const> Protocols)
{
  FirmwareBytes Expression;
  for (std::size_t Index = 0; Index < Protocols.size (); ++Index) {
    Expression.push_back (EFI_DEP_PUSH);
    Append (Expression, *Protocols[Index]);
    if (Index > 0) {
      Expression.push_back (EFI_DEP_AND);
    }
  }
  if (Protocols.empty ()) {
    Expression.push_back (EFI_DEP_TRUE);
  }
  Expression.push_back (EFI_DEP_END);
  return Expression;
}

FirmwareBytes
MakeModuleFile (const SmmModuleFile &Module)
{
  FirmwareBytes Title;
  AppendText (Title, Module.Title);
  FirmwareBytes Version (sizeof (UINT16)); // The build number.
  AppendText (Version, Module.Version);

  FirmwareBytes Sections;
  AppendSection (Sections, EFI_SECTION_MM_DEPEX, Module.Dependency);
  AppendSection (Sections, EFI_SECTION_PE32, Module.Image);
  AppendSection (Sections, EFI_SECTION_USER_INTERFACE, Title);
  AppendSection (Sections, EFI_SECTION_VERSION, Version);
  return MakeFile (Module.Name, EFI_FV_FILETYPE_MM, Sections);
}

FirmwareBytes
MakeVolume (std::span<const FirmwareBytes> Files)
{
  FirmwareBytes Volume (sizeof (VolumeHead));
  for (const FirmwareBytes &File : Files) {
    PadToBlock (Volume);
    Volume.insert (Volume.end (), File.begin (), File.end ());
  }
  const std::size_t BlockCount = (Volume.size () + BlockSize - 1) / BlockSize;
  Volume.resize (BlockCount * BlockSize, FFS_ERASED_BYTE);
  const VolumeHead Head = MakeHead (BlockCount);
  std::memcpy (Volume.data (), &Head, sizeof Head);
  return Volume;
}

void
RenameFile (FirmwareBytes &File, const EFI_GUID &Name)
{
  auto *Header = reinterpret_cast<EFI_FFS_FILE_HEADER *> (File.data ());
  Header->Name = Name;
  SetHeaderChecksum (*Header);
}
