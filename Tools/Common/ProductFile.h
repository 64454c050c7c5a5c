/// The files that the tools come with.
#pragma once

#include <string>

/// Whether the tool is installed: it then lies in a directory "bin".
bool IsInstalled ();

/// The path of the file that the build has made at Built. Installed tools have it by its name in
/// the directory of the product below "lib" beside their own.
std::string ProductFile (const std::string &Built);

/// The path of another tool, at Built or beside this one.
std::string ProductTool (const std::string &Built);
