/// One loaded driver: a copy of its shared object with module state of its own.
#pragma once

#include <filesystem>
#include <string>

#include "HostMachine.h"
#include "Uefi/SystemTable.h"

class DriverInstance {
public:
  using EntryPoint = EFI_STATUS (EFIAPI *) (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

  /// Loads a fresh copy of SharedObject and binds its machine operations to Machine, which outlives
  /// it. Runs none of its code. Throws std::runtime_error when the object cannot be loaded.
  DriverInstance (const std::filesystem::path &SharedObject, HostMachine &Machine);

  /// Unloads the copy. Nothing may call into it any more.
  ~DriverInstance ();

  DriverInstance (const DriverInstance &) = delete;
  DriverInstance &operator= (const DriverInstance &) = delete;

  /// The image entry, _ModuleEntryPoint.
  [[nodiscard]] EntryPoint Entry () const;

  /// Where the copy lies, and the size of its file.
  [[nodiscard]] VOID *ImageBase () const;
  [[nodiscard]] UINT64 ImageSize () const;

  /// Address of one of the driver's own functions or variables, as
  /// Symbol<EFI_SMM_SYSTEM_TABLE2 *> ("gSmst"). Names of C linkage are plain; others are mangled.
  /// Throws std::runtime_error for an unknown name.
  template <typename Type>
  [[nodiscard]] Type *
  Symbol (const std::string &Name) const
  {
    return reinterpret_cast<Type *> (Address (Name));
  }

private:
  UINT64 Size;
  void *Library = nullptr;

  [[nodiscard]] void *Address (const std::string &Name) const;
};

/// The shared object of the driver under test, as the build made it.
std::filesystem::path BuiltDriver ();
