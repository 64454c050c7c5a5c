#include "DriverInstance.h"

#include <cstdlib>
#include <dlfcn.h>
#include <stdexcept>
#include <unistd.h>

namespace {

constexpr char EntryName[] = "_ModuleEntryPoint";
constexpr char MachineName[] = "gHostMachine";

/// A file that exists while this object lives.
class TemporaryFile {
public:
  TemporaryFile ()
  {
    Path = std::filesystem::temp_directory_path () / "qsm-driver-XXXXXX";
    const int Descriptor = mkstemp (Path.data ());
    if (Descriptor < 0) {
      throw std::runtime_error ("cannot create " + Path);
    }
    close (Descriptor);
  }

  ~TemporaryFile ()
  {
    unlink (Path.c_str ());
  }

  TemporaryFile (const TemporaryFile &) = delete;
  TemporaryFile &operator= (const TemporaryFile &) = delete;

  std::string Path;
};

} // namespace

DriverInstance::DriverInstance (const std::filesystem::path &SharedObject, HostMachine &Machine)
    : Size (std::filesystem::file_size (SharedObject))
{
  // The loader gives a file that is open already back as it is, so each instance has its own.
  const TemporaryFile Copy;
  std::filesystem::copy_file (SharedObject, Copy.Path,
                              std::filesystem::copy_options::overwrite_existing);
  Library = dlopen (Copy.Path.c_str (), RTLD_NOW | RTLD_LOCAL);
  if (Library == nullptr) {
    throw std::runtime_error (dlerror ());
  }
  *Symbol<HostMachine *> (MachineName) = &Machine;
}

DriverInstance::~DriverInstance ()
{
  dlclose (Library);
}

DriverInstance::EntryPoint
DriverInstance::Entry () const
{
  return reinterpret_cast<EntryPoint> (Address (EntryName));
}

VOID *
DriverInstance::ImageBase () const
{
  Dl_info Info = {};
  dladdr (Address (MachineName), &Info);
  return Info.dli_fbase;
}

UINT64
DriverInstance::ImageSize () const
{
  return Size;
}

void *
DriverInstance::Address (const std::string &Name) const
{
  void *Found = dlsym (Library, Name.c_str ());
  if (Found == nullptr) {
    throw std::runtime_error ("the driver has no symbol " + Name);
  }
  return Found;
}

std::filesystem::path
BuiltDriver ()
{
  return QSM_BUILT_DRIVER;
}
