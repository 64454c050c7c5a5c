#include "ProductFile.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

fs::path
ToolDirectory ()
{
  return fs::read_symlink ("/proc/self/exe").parent_path ();
}

/// Where the installed files lie of which Built is one, seen from the tools; or Built.
std::string
Locate (const fs::path &Built, const char *Directory)
{
  return IsInstalled () ? (ToolDirectory () / Directory / Built.filename ()).lexically_normal ()
                        : Built;
}

} // namespace

bool
IsInstalled ()
{
  return ToolDirectory ().filename () == "bin";
}

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
