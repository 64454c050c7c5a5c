/// Views of what a boot has left: the topics of `show`, but for the inventory.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "SharedStores.h"

/// A boot as far as it came.
struct BootResult {
  const SimulatedPlatform &Platform;
  const StoreWatch &Watch; ///< Over the whole boot.
};

/// The same facts for people and for programs.
struct BootView {
  std::string Summary;          ///< Ends the heading of the text.
  std::string Text;             ///< Whole lines.
  nlohmann::ordered_json Facts; ///< Keys of the document.
  std::string Missing = {};     ///< What the drivers should have left and have not; else empty.
};

BootView ViewStores (const BootResult &Booted);
BootView ViewHobs (const BootResult &Booted);
BootView ViewLog (const BootResult &Booted);
BootView ViewTopology (const BootResult &Booted);
BootView ViewPointers (const BootResult &Booted);
BootView ViewUpi (const BootResult &Booted);
