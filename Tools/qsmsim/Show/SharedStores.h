/// Who uses the buffers that the RAS drivers of a boot share.
#pragma once

#include <optional>
#include <set>
#include <vector>

#include "SharedBuffers.h"
#include "SimulatedPlatform.h"

/// One buffer with those who know it.
struct SharedStore : SharedBuffer {
  std::optional<UINTN> Maker; ///< The driver that has set the variable, counted from 0.
  std::set<UINTN> Users;      ///< The drivers that know the address: the maker and all finders.
};

/// Watches who uses the store's variables as long as it lives: from the start of its platform's
/// boot on. There is one at a time, and its platform outlives it.
class StoreWatch {
public:
  explicit StoreWatch (const SimulatedPlatform &Platform);
  ~StoreWatch ();
  StoreWatch (const StoreWatch &) = delete;
  StoreWatch &operator= (const StoreWatch &) = delete;

  /// The buffers there are, in the order in which they were made.
  [[nodiscard]] std::vector<SharedStore> Stores () const;
};
