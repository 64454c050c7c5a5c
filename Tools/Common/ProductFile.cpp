#include "ProductFile.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

/// Where the installed files lie of which Built is one, seen from the tools; or Built.
std::string
Locate (const fs::path &Built, const char *Directory)
{
  const fs::path Tools = fs::read_symlink ("/proc/self/exe").parent_path ();
  if (Tools.filename () != "bin") {
    return Built;
  }
  return (Tools / Directory / Built.filename ()).lexically_normal ();
}

} // namespace

std::string
ProductFile (const std::string &Built)
{
  return Locate (Built, "../lib/" QSM_PRODUCT);
}

std::string
ProductTool (const std::string &Built)
{
  return Locate (Built, ".");
}
