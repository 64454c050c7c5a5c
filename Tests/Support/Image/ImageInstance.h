/// The production image, run in this process.
///
/// The instructions that only a privileged processor may execute trap, as do accesses to memory
/// that is not there, and are played on the machine that is bound to gHostMachine. CPUID, the
/// time-stamp counter and the pause do not trap; the shadow stack is off.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include "Uefi/PeImage.h"
#include "Uefi/SystemTable.h"

/// The image did something that has no place in a run, or its processor came to a stop.
struct ImageStopped : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class ImageInstance {
public:
  /// Loads the image and gives each section the protection that its header asks for. Throws
  /// ImageStopped if File is no image.
  explicit ImageInstance (std::span<const UINT8> File);

  /// Runs Call, which calls into the image. Throws ImageStopped when Stop was called meanwhile.
  void Run (const std::function<void ()> &Call);

  /// Ends the Run that goes on, for a function that the image has called: the image has no unwind
  /// tables, so no exception can pass it. Objects of the functions on the way are not destroyed.
  [[noreturn]] static void Stop (const char *Why);

  /// The image's entry point.
  EFI_STATUS (EFIAPI *Entry) (EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE *SystemTable);

  /// Where the image lies. The memory goes with the instance.
  UINT8 *Base;
  UINTN Size;

private:
  std::shared_ptr<void> Memory;
};
