#include "SmmMemoryAllocationLib.h"

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

EFI_STATUS EFIAPI
GetCapabilities (const EFI_SMM_ACCESS2_PROTOCOL *, UINTN *Size, EFI_SMRAM_DESCRIPTOR *Buffer)
{
  if (Buffer == nullptr) {
    EXPECT_EQ (*Size, 0U);
    *Size = sizeof Map;
    return mFirmware.AskSize;
  }
  EXPECT_EQ (*Size, sizeof Map);
  std::memcpy (Buffer, Map, sizeof Map);
  return mFirmware.ReadMap;
}

EFI_STATUS EFIAPI
LocateProtocol (const EFI_GUID *Protocol, VOID *, VOID **Interface)
{
  static EFI_SMM_ACCESS2_PROTOCOL Access = {nullptr, nullptr, nullptr, GetCapabilities, 0, 1};
  EXPECT_EQ (std::memcmp (Protocol, &gEfiSmmAccess2ProtocolGuid, sizeof (EFI_GUID)), 0);
  *Interface = EFI_ERROR (mFirmware.Locate) ? reinterpret_cast<VOID *> (0xBAD) : &Access;
  return mFirmware.Locate;
}

EFI_STATUS EFIAPI
SmmAllocatePool (EFI_MEMORY_TYPE Type, UINTN, VOID **Buffer)
{
  EXPECT_EQ (Type, 6U);
  *Buffer = mFirmware.Pool;
  mFirmware.BlockIsLive = !EFI_ERROR (mFirmware.Allocate);
  return mFirmware.Allocate;
}

EFI_STATUS EFIAPI
SmmFreePool (VOID *Buffer)
{
  mFirmware.BlockIsLive = mFirmware.BlockIsLive && Buffer != mFirmware.Pool;
  mFirmware.FreedBy = "smm";
  return mFirmware.Free;
}

EFI_STATUS EFIAPI
BootFreePool (VOID *)
{
  mFirmware.FreedBy = "boot";
  return mFirmware.Free;
}

class SmmMemoryAllocationLib : public ModuleTestBench {
public:
  SmmMemoryAllocationLib ()
  {
    BootServices.LocateProtocol = LocateProtocol;
    BootServices.FreePool = BootFreePool;
    gBS = &BootServices;
    Smst.SmmAllocatePool = SmmAllocatePool;
    Smst.SmmFreePool = SmmFreePool;
    gSmst = &Smst;
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
  EXPECT_EQ (FreedBy (0x1000), "boot") << "before the constructor";
  EXPECT_EQ (Construct (), "");
  for (const UINTN Address : {0x1000ULL, 0x10FFULL, 0x3000ULL, 0x3FFFULL}) {
    EXPECT_EQ (FreedBy (Address), "smm") << std::hex << Address;
  }
  for (const UINTN Address : {0x0FFFULL, 0x1100ULL, 0x2FFFULL, 0x4000ULL, 0x5000ULL, ~0ULL}) {
    EXPECT_EQ (FreedBy (Address), "boot") << std::hex << Address;
  }
  EXPECT_TRUE (mFirmware.BlockIsLive);
  EXPECT_EQ (SmmMemoryAllocationLibDestructor (nullptr, nullptr), EFI_SUCCESS);
  EXPECT_FALSE (mFirmware.BlockIsLive);
}

TEST_F (SmmMemoryAllocationLib, ReportsARefusedFree)
{
  EXPECT_EQ (Construct (), "");
  mFirmware.Free = EFI_INVALID_PARAMETER;
  EXPECT_EQ (FreedBy (0x1000), "smm");
  EXPECT_EQ (FreedBy (0x1100), "boot");
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] { FreedBy (0x1000); }), Source + "989" + StatusText);
  EXPECT_EQ (StoppedAt ([] { FreedBy (0x1100); }), Source + "989" + StatusText);
  EXPECT_EQ (Messages, std::vector<std::string> (2, "80000000 \nASSERT_EFI_ERROR (Status = %r)\n"));
}

TEST_F (SmmMemoryAllocationLib, AllocatesFromTheSmmPoolAlone)
{
  std::memset (mFirmware.Pool, 0xA5, sizeof mFirmware.Pool);
  EXPECT_EQ (AllocatePool (8), mFirmware.Pool);
  EXPECT_EQ (AllocateZeroPool (0), mFirmware.Pool);
  EXPECT_EQ (mFirmware.Pool[0], 0xA5);
  EXPECT_EQ (AllocateZeroPool (5), mFirmware.Pool);
  EXPECT_EQ (std::memcmp (mFirmware.Pool, "\0\0\0\0\0\xA5", 6), 0);

  mFirmware.Allocate = 5; // a warning
  EXPECT_EQ (AllocatePool (8), mFirmware.Pool);
  mFirmware.Allocate = EFI_OUT_OF_RESOURCES;
  EXPECT_EQ (AllocatePool (8), nullptr);
  EXPECT_EQ (AllocateZeroPool (8), nullptr);
  EXPECT_EQ (mFirmware.Pool[5], 0xA5);
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
    bool HasBootServices = true;
  } Rows[] = {
      {"65" + StatusText, &Firmware::Locate, EFI_SUCCESS, false},
      {"65" + StatusText, &Firmware::Locate},
      {"72" + SizeText, &Firmware::AskSize},
      {"72" + SizeText, &Firmware::AskSize, EFI_SUCCESS},
      {"75 mSmramRanges != ((void *) 0)", &Firmware::Allocate},
      {"78" + StatusText, &Firmware::ReadMap},
  };
  for (const bool Stops : {false, true}) {
    for (const auto &Row : Rows) {
      SCOPED_TRACE (Row.Assertion);
      mFirmware = {};
      mFirmware.*Row.Answer = Row.Status;
      gBS = Row.HasBootServices ? &BootServices : nullptr;
      EXPECT_EQ (Construct (), Stops ? Source + Row.Assertion : "");
      if (!Stops) {
        EXPECT_FALSE (mFirmware.BlockIsLive) << "a leak";
        EXPECT_EQ (FreedBy (0x1000), Row.HasBootServices ? "boot" : "none");
        mFirmware.FreedBy = "none";
        EXPECT_EQ (SmmMemoryAllocationLibDestructor (nullptr, nullptr), EFI_SUCCESS);
        EXPECT_EQ (mFirmware.FreedBy, "none");
      }
    }
    InstallDebugService ();
  }
}

} // namespace
