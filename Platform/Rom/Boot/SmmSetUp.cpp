#include "SmmSetUp.h"

#include "ApmPort.h"
#include "Chipset.h"
#include "HandOver.h"
#include "Machine.h"
#include "MachineLog.h"
#include "Processors.h"
#include "SmmCall.h"
#include "SmmTileOffsets.h"

constinit bool gSmmIsSetUp = false;

extern "C" {

extern const UINT8 gSmmImage[];
extern const UINT8 gSmmImageEnd[];
extern const UINT8 gRelocationHandler[];
extern const UINT8 gRelocationHandlerEnd[];
}

namespace {

/// The start of the relocation handler where it runs.
struct RelocationCall {
  UINT8 Jump[4];
  UINT32 NewSmbase;
  UINT32 Done;
};

constexpr UINTN RelocationEntry = RESET_SMBASE + SMM_ENTRY_OFFSET;
/// What memory that is closed reads as.
constexpr UINT32 AllOnes = 0xFFFFFFFF;

VOID
LayImage ()
{
  auto *Tseg = reinterpret_cast<UINT8 *> (TSEG_BASE);
  auto *Image = reinterpret_cast<UINT8 *> (SMM_IMAGE_BASE);
  __builtin_memset (Tseg, 0, TSEG_SIZE);
  __builtin_memcpy (Image, gSmmImage, static_cast<UINTN> (gSmmImageEnd - gSmmImage));
  const auto *Header = reinterpret_cast<const SmmImageHeader *> (Image);
  if (Header->Signature != SmmImageSignature) {
    EndRun (EndMachine, "boot: TSEG is not RAM\n");
  }
  Header->Prepare (HandOverRecord ().Found.ProcessorCount);
}

/// To be run on one processor at a time: all come to the same handler.
VOID
Relocate (UINTN Processor, VOID *)
{
  auto *Call = reinterpret_cast<volatile RelocationCall *> (RelocationEntry);
  Call->NewSmbase = static_cast<UINT32> (SMM_TILES_BASE + Processor * SMM_TILE_SIZE);
  Call->Done = 0;
  RaiseSmi ();
  for (UINTN Pass = 0; Call->Done == 0; ++Pass) {
    if (Pass == SmiPassesMax) {
      EndRun (EndMachine, "boot: processor %ld takes no SMI\n", Processor);
    }
    CpuPause ();
  }
}

VOID
CheckTsegIsClosed ()
{
  for (const UINTN Address : SmramProbes) {
    MmioStore32 (Address, SmramProbePattern);
    if (MmioLoad32 (Address) != AllOnes) {
      EndRun (EndMachine, "boot: TSEG is open at 0x%lx\n", Address);
    }
  }
  LogPrint ("boot: TSEG is locked: it reads all ones and drops writes\n");
}

} // namespace

VOID
SetUpSmm ()
{
  LayImage ();
  __builtin_memcpy (reinterpret_cast<VOID *> (RelocationEntry), gRelocationHandler,
                    static_cast<UINTN> (gRelocationHandlerEnd - gRelocationHandler));
  for (UINTN Index = 0; Index < HandOverRecord ().Found.ProcessorCount; ++Index) {
    RunOnProcessor (Index, Relocate, nullptr);
  }
  ChipsetLockTseg ();
  CheckTsegIsClosed ();
  __atomic_store_n (&gSmmIsSetUp, true, __ATOMIC_RELEASE);
}
