/// A step of the image's build: an SMM module as a file for a firmware volume, and volumes.
///
/// firmwarefile module NAME VERSION IMAGE FILE DEPEX: the file of one of the modules below, and its
/// dependency expression alone.
/// firmwarefile volume VOLUME FILE...: a volume of such files.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <span>
#include <stdexcept>

#include "HeldInventory.h"
#include "ModuleFile.h"
#include "VolumeWriter.h"

namespace {

/// A module that the build makes a file of.
struct Module {
  std::string_view Title;
  EFI_GUID Name;
  std::span<const EFI_GUID *const> Dependencies;
};

const EFI_GUID *const InventoryDependencies[] = {&gEfiSmmBase2ProtocolGuid,
                                                 &gHeldInventoryProtocolGuid};

const Module Modules[] = {
    {"VelmoraQsmErrorHandler", gVelmoraQsmErrorHandlerFileGuid, DriverDependencies},
    {"SystemInventory", gSystemInventoryFileGuid, InventoryDependencies},
};

using Words = std::span<char *const>;

FirmwareBytes
ReadFile (const char *Path)
{
  std::ifstream File (Path, std::ios::binary);
  if (!File) {
    throw std::runtime_error (std::string (Path) + ": cannot be read");
  }
  return {std::istreambuf_iterator<char> (File), {}};
}

void
WriteFile (const char *Path, const FirmwareBytes &Bytes)
{
  std::ofstream File (Path, std::ios::binary);
  File.write (reinterpret_cast<const char *> (Bytes.data ()),
              static_cast<std::streamsize> (Bytes.size ()));
  if (!File.flush ()) {
    throw std::runtime_error (std::string (Path) + ": cannot be written");
  }
}

const Module &
FindModule (std::string_view Title)
{
  for (const Module &Each : Modules) {
    if (Each.Title == Title) {
      return Each;
    }
  }
  throw std::runtime_error (std::string (Title) + ": there is no module of this name");
}

void
WriteModule (Words Arguments)
{
  const Module &Of = FindModule (Arguments[0]);
  const FirmwareBytes Dependency = DependencyOnAll (Of.Dependencies);
  WriteFile (Arguments[3], MakeModuleFile ({.Name = Of.Name,
                                            .Title = std::string (Of.Title),
                                            .Version = Arguments[1],
                                            .Dependency = Dependency,
                                            .Image = ReadFile (Arguments[2])}));
  WriteFile (Arguments[4], Dependency);
}

void
WriteVolume (Words Arguments)
{
  std::vector<FirmwareBytes> Files;
  for (const char *Path : Arguments.subspan (1)) {
    Files.push_back (ReadFile (Path));
  }
  WriteFile (Arguments[0], MakeVolume (Files));
}

} // namespace

int
main (int Count, char **Words)
{
  const std::span Arguments (Words, static_cast<std::size_t> (Count));
  const std::string_view What = Count > 1 ? Arguments[1] : "";
  try {
    if (What == "--version") {
      std::puts ("firmwarefile " QSM_VERSION);
    } else if (What == "module" && Count == 7) {
      WriteModule (Arguments.subspan (2));
    } else if (What == "volume" && Count > 3) {
      WriteVolume (Arguments.subspan (2));
    } else {
      std::fputs ("usage: firmwarefile module NAME VERSION IMAGE FILE DEPEX\n"
                  "       firmwarefile volume VOLUME FILE...\n"
                  "       firmwarefile --version\n",
                  stderr);
      return 2;
    }
  } catch (const std::exception &Error) {
    std::fprintf (stderr, "firmwarefile: %s\n", Error.what ());
    return 1;
  }
  return 0;
}
