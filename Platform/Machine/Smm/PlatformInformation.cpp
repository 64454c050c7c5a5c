#include "PlatformInformation.h"

#include "Machine.h"
#include "MachineLog.h"

namespace {

/// Bits 15:8 hold the ratio of the time-stamp counter to a 100 MHz clock (Intel SDM, volume 4).
constexpr UINT32 MSR_PLATFORM_INFO = 0xCE;
constexpr UINT64 PlatformInformation = 20 << 8;

constexpr UINT8 RdmsrCode[] = {0x0F, 0x32};

/// Breakpoint registers, and what DR7 has when all are off and for each that stops at an
/// instruction (Intel SDM, volume 3, 17.2.4).
constexpr UINTN BreakpointCount = 4;
constexpr UINT64 ControlNone = 0x400;
constexpr UINT64 ControlEnable = 0x02;
constexpr UINTN ControlBitsPerBreakpoint = 2;

[[gnu::section (".settled.data")]] constinit UINT64 mPlaces[BreakpointCount] = {};
[[gnu::section (".settled.data")]] constinit UINTN mPlaceCount = 0;

VOID
SetControl (UINT64 Control)
{
  asm volatile("mov %0, %%dr7" ::"r"(Control));
}

VOID
AddPlace (UINT64 Place)
{
  if (mPlaceCount == BreakpointCount) {
    EndRun (EndSettings, "smm: the machine has breakpoints for %ld drivers only\n",
            BreakpointCount);
  }
  mPlaces[mPlaceCount++] = Place;
}

} // namespace

VOID
PlatformInformationWatch (const UINT8 *Code, UINTN Size)
{
  UINTN Found = 0;
  for (UINTN Offset = 0; Offset + sizeof RdmsrCode <= Size; ++Offset) {
    if (__builtin_memcmp (Code + Offset, RdmsrCode, sizeof RdmsrCode) == 0) {
      AddPlace (reinterpret_cast<UINT64> (Code + Offset));
      ++Found;
    }
  }
  if (Found > 1) {
    EndRun (EndSettings, "smm: driver file: more than one RDMSR\n");
  }
}

VOID
PlatformInformationArm ()
{
  asm volatile("mov %0, %%dr0" ::"r"(mPlaces[0]));
  asm volatile("mov %0, %%dr1" ::"r"(mPlaces[1]));
  asm volatile("mov %0, %%dr2" ::"r"(mPlaces[2]));
  asm volatile("mov %0, %%dr3" ::"r"(mPlaces[3]));
  UINT64 Control = ControlNone;
  for (UINTN Index = 0; Index < mPlaceCount; ++Index) {
    Control |= ControlEnable << ControlBitsPerBreakpoint * Index;
  }
  SetControl (Control);
}

VOID
PlatformInformationDisarm ()
{
  SetControl (ControlNone);
}

bool
PlatformInformationServe (ExceptionFrame *Frame)
{
  for (UINTN Index = 0; Index < mPlaceCount; ++Index) {
    if (Frame->Rip == mPlaces[Index]) {
      const auto Register = static_cast<UINT32> (Frame->Rcx);
      const UINT64 Value =
          Register == MSR_PLATFORM_INFO ? PlatformInformation : AsmReadMsr64 (Register);
      Frame->Rax = Value & 0xFFFFFFFF;
      Frame->Rdx = Value >> 32;
      Frame->Rip += sizeof RdmsrCode;
      return true;
    }
  }
  return false;
}
