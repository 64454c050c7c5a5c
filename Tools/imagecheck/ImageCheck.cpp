#include "ImageCheck.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "ImageLoader.h"

namespace {

constexpr UINT32 PageSize = 0x1000;

/// An address at which neither of the two images was linked.
constexpr UINT64 CommonLoadAddress = 0x7654321000;

/// What the directories hold, in their order.
constexpr const char *DirectoryContents[] = {"exports",
                                             "imports",
                                             "resources",
                                             "an exception table",
                                             "certificates",
                                             "relocations",
                                             "debug data",
                                             "architecture data",
                                             "a global pointer",
                                             "thread-locals",
                                             "a load config",
                                             "bound imports",
                                             "an import address table",
                                             "delay imports",
                                             "a run-time header",
                                             "a reserved directory"};
static_assert (std::size (DirectoryContents) == PE_DIRECTORY_COUNT);

/// All sections that an image may have. Others are for a run-time library that firmware lacks, as
/// .CRT (start-up code), .tls (thread-locals) and .pdata (unwinding) are.
constexpr std::string_view AllowedSections[] = {".text", ".rdata", ".data", ".reloc"};

struct Checker {
  std::vector<std::string> Faults;

  void
  Require (bool Holds, const std::string &Fault)
  {
    if (!Holds) {
      Faults.push_back (Fault);
    }
  }
};

std::string
NameOf (const SectionHeader &Section)
{
  return {Section.Name, strnlen (Section.Name, sizeof (Section.Name))};
}

void
CheckHeaders (const PeHeaders &Headers, Checker &Check)
{
  Check.Require (Headers.Subsystem == PE_SUBSYSTEM_EFI_BOOT_SERVICE_DRIVER,
                 "the subsystem is not EFI boot service driver");
  Check.Require (Headers.SectionAlignment == PageSize, "sections are not aligned to 4 KiB");
  Check.Require (Headers.ImageSize % PageSize == 0, "the image's memory is not whole pages");
  for (UINTN Index = 0; Index < PE_DIRECTORY_COUNT; Index++) {
    const PeDirectory &Directory = Headers.Directories[Index];
    Check.Require (Index == PE_DIRECTORY_RELOCATION ||
                       (Directory.Address == 0 && Directory.Size == 0),
                   std::string ("the image has ") + DirectoryContents[Index]);
  }
}

void
CheckSections (const ImageFile &Image, UINTN FileSize, Checker &Check)
{
  UINT64 FileEnd = Image.Headers->HeadersSize;
  for (UINTN Index = 0; Index < Image.Headers->SectionCount; Index++) {
    const SectionHeader &Section = Image.Sections[Index];
    const std::string Name = NameOf (Section);
    const bool IsCode = (Section.Characteristics & PE_SECTION_EXECUTE) != 0;
    const bool IsWritable = (Section.Characteristics & PE_SECTION_WRITE) != 0;
    Check.Require (!(IsCode && IsWritable), "section " + Name + " is writable and executable");
    Check.Require (Section.Address % PageSize == 0, "section " + Name + " begins within a page");
    Check.Require (std::ranges::find (AllowedSections, Name) != std::end (AllowedSections),
                   "section " + Name + " has no place in the image");
    FileEnd = std::max (FileEnd, UINT64{Section.FileOffset} + Section.FileSize);
  }
  Check.Require (FileEnd == FileSize, "the file goes on behind its last section");
}

/// Loads File as firmware would. Returns nothing, and a fault, if that cannot be done.
std::vector<UINT8>
LoadFile (std::span<const UINT8> File, ImageFile &Image, Checker &Check)
{
  std::vector<UINT8> Memory;
  const char *Fault = OpenImage (File.data (), File.size (), Image);
  if (Fault == nullptr) {
    Memory.resize (Image.Headers->ImageSize);
    Fault = PlaceImage (Image, Memory.data (), CommonLoadAddress);
  }
  if (Fault != nullptr) {
    Check.Faults.emplace_back (Fault);
    Memory.clear ();
  }
  return Memory;
}

} // namespace

std::vector<std::string>
CheckImage (std::span<const UINT8> File, std::span<const UINT8> RelinkedFile)
{
  Checker Check;
  Check.Require (File.size () <= ImageFileSizeMax, "the file has " + std::to_string (File.size ()) +
                                                       " bytes, more than " +
                                                       std::to_string (ImageFileSizeMax));

  ImageFile Relinked;
  const std::vector<UINT8> RelinkedMemory = LoadFile (RelinkedFile, Relinked, Check);
  ImageFile Image;
  const std::vector<UINT8> Memory = LoadFile (File, Image, Check);
  if (!Memory.empty ()) {
    CheckHeaders (*Image.Headers, Check);
    CheckSections (Image, File.size (), Check);
    Check.Require (Memory == RelinkedMemory, "an absolute pointer has no relocation");
  }
  return Check.Faults;
}

std::vector<std::string>
CheckTwin (std::span<const UINT8> File, std::span<const UINT8> TwinFile)
{
  Checker Check;
  ImageFile Image, Twin;
  const std::vector<UINT8> Memory = LoadFile (File, Image, Check);
  const std::vector<UINT8> TwinMemory = LoadFile (TwinFile, Twin, Check);
  if (Memory.empty () || TwinMemory.empty ()) {
    return Check.Faults;
  }
  const UINT32 DebugDirectory = Twin.Headers->Directories[PE_DIRECTORY_DEBUG].Address;
  for (UINTN Index = 0; Index < Image.Headers->SectionCount; Index++) {
    const SectionHeader &Section = Image.Sections[Index];
    const auto IsSame = [&] (const SectionHeader &Other) {
      const UINT32 End = Section.Address + Section.MemorySize;
      const UINT32 OtherEnd = Other.Address + Other.MemorySize;
      const bool HasDirectory = End <= DebugDirectory && DebugDirectory < OtherEnd;
      return Other.Address == Section.Address && (OtherEnd == End || HasDirectory) &&
             std::equal (&Memory[Section.Address], &Memory[End], &TwinMemory[Section.Address]);
    };
    Check.Require (Index < Twin.Headers->SectionCount && IsSame (Twin.Sections[Index]),
                   "the twin has another section " + NameOf (Section));
  }
  return Check.Faults;
}
