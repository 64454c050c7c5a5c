/// Views of what a boot has left: the topics of `show`, but for the inventory.
#pragma once

#include <span>
#include <string>

#include <nlohmann/json.hpp>

#include "SharedStores.h"

/// A boot as far as it came.
struct BootedPlatform {
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

BootView ViewStores (const BootedPlatform &Booted);
BootView ViewHobs (const BootedPlatform &Booted);
BootView ViewLog (const BootedPlatform &Booted);
BootView ViewTopology (const BootedPlatform &Booted);
BootView ViewPointers (const BootedPlatform &Booted);
BootView ViewUpi (const BootedPlatform &Booted);

/// "0x7F00DEADB000".
std::string AddressText (UINT64 Address);

/// The first bytes of a buffer or a block, as many as a list has room for.
std::string StartText (std::span<const UINT8> Bytes);

/// The same, with " ..." if there are more.
std::string CutText (std::span<const UINT8> Bytes);
