#include "SmmMemoryAllocationLib.h"

#include <algorithm>
#include <cstring>

#include "ModuleTestBench.h"
#include "Protocol/SmmAccess2.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

/// What the firmware answers, and what it was asked. SMM pool is one block at a time, in SMRAM.
struct Firmware {
  EFI_STATUS Locate = EFI_SUCCESS;
  EFI_STATUS AskSize = EFI_BUFFER_TOO_SMALL;
  EFI_STATUS Allocate = EFI_SUCCESS;
  EFI_STATUS ReadMap = EFI_SUCCESS;
  EFI_STATUS Free = EFI_SUCCESS;
  UINT8 Pool[128];
  bool BlockIsLive = false;
  std::string FreedBy;
};
Firmware mFirmware;

/// Physical start, start as the processor sees it, size, state.
const EFI_SMRAM_DESCRIPTOR Map[] = {
    {0x5000, 0x1000, 0x100, 0},
    {0x6000, reinterpret_cast<UINTN> (mFirmware.Pool), sizeof mFirmware.Pool, 0},
    {0x7000, 0x3000, 0x1000, 0}};

class SmmMemoryAllocationLib : public ModuleTestBench {
public:
  SmmMemoryAllocationLib ()
  {
    BootServices.LocateProtocol = [] (const EFI_GUID *Protocol, VOID *, VOID **Interface) EFIAPI {
      static EFI_SMM_ACCESS2_PROTOCOL Access = {nullptr, nullptr, nullptr, GetCapabilities, 0, 1};
      EXPECT_EQ (std::memcmp (Protocol, &gEfiSmmAccess2ProtocolGuid, sizeof (EFI_GUID)), 0);
      *Interface = EFI_ERROR (mFirmware.Locate) ? nullptr : &Access;
      return mFirmware.Locate;
    };
    BootServices.FreePool = [] (VOID *) EFIAPI {
      mFirmware.FreedBy = "boot";
      return mFirmware.Free;
    };
    gBS = &BootServices;
    Smst.SmmAllocatePool = [] (EFI_MEMORY_TYPE Type, UINTN, VOID **Buffer) EFIAPI {
      EXPECT_EQ (Type, 6U);
      *Buffer = mFirmware.Pool;
      mFirmware.BlockIsLive = !EFI_ERROR (mFirmware.Allocate);
      return mFirmware.Allocate;
    };
    Smst.SmmFreePool = [] (VOID *Buffer) EFIAPI {
      mFirmware.BlockIsLive = mFirmware.BlockIsLive && Buffer != mFirmware.Pool;
      mFirmware.FreedBy = "smm";
      return mFirmware.Free;
    };
    gSmst = &Smst;
  }

  static EFI_STATUS EFIAPI
  GetCapabilities (const EFI_SMM_ACCESS2_PROTOCOL *, UINTN *Size, EFI_SMRAM_DESCRIPTOR *Buffer)
  {
    EXPECT_EQ (*Size, Buffer == nullptr ? 0 : sizeof Map);
    *Size = sizeof Map;
    std::copy_n (Map, Buffer == nullptr ? 0 : std::size (Map), Buffer);
    return Buffer == nullptr ? mFirmware.AskSize : mFirmware.ReadMap;
  }

  static std::string
  FreedBy (UINTN Address)
  {
    mFirmware.FreedBy = "none";
    FreePool (reinterpret_cast<VOID *> (Address));
    return mFirmware.FreedBy;
  }

  /// Line and text of the assertion in which the constructor stopped, or "".
  std::string
  Construct ()
  {
    Assertions.clear ();
    return StoppedAt ([] {
      EXPECT_EQ (CallDriver (SmmMemoryAllocationLibConstructor, nullptr, nullptr), EFI_SUCCESS);
    });
  }

  const std::string Source = "MdePkg/Library/SmmMemoryAllocationLib/MemoryAllocationLib:";
  const std::string StatusText = " !(((INTN)(RETURN_STATUS)(Status)) < 0)";
  EFI_BOOT_SERVICES BootServices = {};
};

TEST_F (SmmMemoryAllocationLib, FreesABufferWhereItStarts)
{
  EXPECT_EQ (Construct (), "");
  for (const UINTN Address : {0x0FFFULL, 0x1000ULL, 0x10FFULL, 0x1100ULL, 0x3000ULL, 0x5000ULL}) {
    const bool IsInSmram = Address >> 8 == 0x10 || Address == 0x3000;
    EXPECT_EQ (FreedBy (Address), IsInSmram ? "smm" : "boot") << Address;
  }
  mFirmware.Free = EFI_INVALID_PARAMETER;
  EXPECT_EQ (FreedBy (0x1000), "smm");
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] { FreedBy (0x1000); }), Source + "989" + StatusText);
  EXPECT_EQ (StoppedAt ([] { FreedBy (0x1100); }), Source + "989" + StatusText);
  mFirmware.Free = EFI_SUCCESS;
  EXPECT_EQ (SmmMemoryAllocationLibDestructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_FALSE (mFirmware.BlockIsLive);
}

TEST_F (SmmMemoryAllocationLib, AllocatesFromTheSmmPoolAlone)
{
  std::memset (mFirmware.Pool, 0xA5, sizeof mFirmware.Pool);
  EXPECT_EQ (AllocatePool (8), mFirmware.Pool);
  EXPECT_EQ (mFirmware.Pool[0], 0xA5);
  EXPECT_EQ (AllocateZeroPool (5), mFirmware.Pool);
  EXPECT_EQ (std::memcmp (mFirmware.Pool, "\0\0\0\0\0\xA5", 6), 0);
  mFirmware.Allocate = EFI_OUT_OF_RESOURCES;
  EXPECT_EQ (AllocatePool (8), nullptr);
  EXPECT_EQ (AllocateZeroPool (8), nullptr);
  gSmst = nullptr;
  EXPECT_EQ (AllocatePool (8), nullptr);
}

TEST_F (SmmMemoryAllocationLib, StartsWithoutRangesWhenTheMapCannotBeHad)
{
  const std::string SizeText = " Status == ((RETURN_STATUS)(0x8000000000000000ULL | (5)))";
  const struct {
    std::string Assertion;
    EFI_STATUS Firmware::*Answer;
    EFI_STATUS Status = EFI_NOT_FOUND;
  } Rows[] = {{"65" + StatusText, &Firmware::Locate},
              {"72" + SizeText, &Firmware::AskSize, EFI_SUCCESS},
              {"75 mSmramRanges != ((void *) 0)", &Firmware::Allocate},
              {"78" + StatusText, &Firmware::ReadMap}};
  gBS = nullptr;
  EXPECT_EQ (Construct (), "");
  EXPECT_EQ (FreedBy (0x1000), "none");
  gBS = &BootServices;
  for (const bool Stops : {false, true}) {
    for (const auto &Row : Rows) {
      SCOPED_TRACE (Row.Assertion);
      mFirmware = {};
      mFirmware.*Row.Answer = Row.Status;
      EXPECT_EQ (Construct (), Stops ? Source + Row.Assertion : "");
      if (!Stops) {
        EXPECT_FALSE (mFirmware.BlockIsLive) << "a leak";
        EXPECT_EQ (FreedBy (0x1000), "boot");
      }
    }
    InstallDebugService ();
  }
}

} // namespace
