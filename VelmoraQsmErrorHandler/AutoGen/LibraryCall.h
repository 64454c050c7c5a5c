/// How the functions of a library list are called.
#pragma once

#include "Uefi/SystemTable.h"

/// A library constructor or destructor. One of the two call forms is set.
struct LibraryFunction {
  /// Gets both arguments; asserts as ASSERT_EFI_ERROR.
  EFI_STATUS (EFIAPI *FormA) (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable) = nullptr;

  /// Gets nothing; asserts as ASSERT_RETURN_ERROR.
  RETURN_STATUS (EFIAPI *FormB) () = nullptr;
};

/// The line that the assertion behind the function at Index reports.
constexpr UINTN
LibraryLine (UINTN FirstLine, UINTN Index)
{
  return FirstLine + 3 * Index;
}

/// Calls Count functions in their order, each once. A failure is asserted in the file AutoGen, at
/// the line that follows from FirstLine and the position; where that returns, the list goes on.
VOID CallLibraries (const LibraryFunction *Functions,
                    UINTN Count,
                    UINTN FirstLine,
                    EFI_HANDLE ImageHandle,
                    EFI_SYSTEM_TABLE *SystemTable);
