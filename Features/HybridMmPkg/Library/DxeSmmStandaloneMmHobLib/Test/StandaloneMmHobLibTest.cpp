#include "DxeSmmStandaloneMmHobLib.h"

#include <cstring>
#include <vector>

#include "Guid/HobList.h"
#include "HobList.h"
#include "ModuleTestBench.h"
#include "SmmServicesTableLib.h"
#include "UefiBootServicesTableLib.h"

namespace {

/// Names, two of which differ from the first in one bit of either half.
constexpr EFI_GUID Name = {0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr EFI_GUID Other = {0x11223345, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 8}};
constexpr EFI_GUID Absent = {0x11223344, 0x5566, 0x7788, {1, 2, 3, 4, 5, 6, 7, 0x88}};

class StandaloneMmHobLib : public ModuleTestBench {
public:
  StandaloneMmHobLib ()
  {
    HobListReset ();
    Smst.SmmConfigurationTable = &SmmEntry; // not yet counted
    gSmst = &Smst;
    gST = &SystemTable;
  }

  EFI_SYSTEM_TABLE SystemTable = {};
  EFI_CONFIGURATION_TABLE SmmEntry = {gEfiHobListGuid, HobListHead ()};
};

TEST_F (StandaloneMmHobLib, TakesTheFirstMatchOfTheSmmTableElseOfTheSystemTable)
{
  UINT8 Lists[3];
  EFI_CONFIGURATION_TABLE System[] = {{Name, nullptr}, {gEfiHobListGuid, &Lists[0]}};
  EFI_CONFIGURATION_TABLE Smm[] = {{gEfiHobListGuid, &Lists[1]}, {gEfiHobListGuid, &Lists[2]}};
  SystemTable.ConfigurationTable = System;
  Smst.SmmConfigurationTable = Smm;
  const struct {
    UINTN SystemEntries;
    UINTN SmmEntries;
    VOID *List;
  } Rows[] = {{1, 0, nullptr}, {2, 0, &Lists[0]}, {1, 2, &Lists[1]}, {2, 2, &Lists[1]}};
  for (const auto &Row : Rows) {
    SystemTable.NumberOfTableEntries = Row.SystemEntries;
    Smst.NumberOfTableEntries = Row.SmmEntries;
    EXPECT_EQ (CallDriver (HobLibConstructor, nullptr, nullptr), EFI_SUCCESS);
    EXPECT_EQ (gHobList, Row.List);
  }
  Smst.NumberOfTableEntries = 0;
  EXPECT_EQ (GetHobList (), &Lists[1]) << "what has been found is kept";
}

TEST_F (StandaloneMmHobLib, HasNoBlocksUntilThereIsAList)
{
  const std::string Source =
      "Features/HybridMmPkg/Library/DxeSmmStandaloneMmHobLib/StandaloneMmHobLib:";
  for (EFI_SYSTEM_TABLE *Table : {&SystemTable, static_cast<EFI_SYSTEM_TABLE *> (nullptr)}) {
    gST = Table;
    gSmst = Table != nullptr ? &Smst : nullptr;
    EXPECT_EQ (GetNextHob (EFI_HOB_TYPE_GUID_EXTENSION, nullptr), nullptr);
    EXPECT_EQ (GetFirstGuidHob (&Name), nullptr);
    EXPECT_EQ (BuildGuidDataHob (&Name, "data", 4), nullptr);
  }
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] { GetHobList (); }), Source + "88 gHobList != ((void *) 0)");
  EXPECT_EQ (StoppedAt ([] { GetNextHob (EFI_HOB_TYPE_GUID_EXTENSION, nullptr); }),
             Source + "118 HobStart != ((void *) 0)");
  Smst.NumberOfTableEntries = 1;
  EXPECT_EQ (GetHobList (), HobListHead ()) << "found late";
}

TEST_F (StandaloneMmHobLib, WalksAListOfAllKindsOfBlocks)
{
  Smst.NumberOfTableEntries = 1;
  HobListAddGuid (&Other, "twenty bytes of data", 20);
  EFI_HOB_CPU *Cpu = HobListAddCpu (52, 16);
  const EFI_HOB_GUID_TYPE *First = HobListAddGuid (&Name, "data", 4);
  EFI_HOB_GUID_TYPE *Second = HobListAddGuid (&Name, "more", 4);

  EXPECT_EQ (GetFirstGuidHob (&Name), First);
  EXPECT_EQ (GetFirstGuidHob (&Absent), nullptr);
  EXPECT_EQ (GetNextHob (EFI_HOB_TYPE_GUID_EXTENSION, Cpu), First);
  EXPECT_EQ (GetNextHob (EFI_HOB_TYPE_CPU, First), nullptr);
  const EFI_GUID HalfAnEnd = {1, 2, 3, {0xFF, 0xFF, 8}}; // its second half reads as an end
  Second->Name = HalfAnEnd;
  EXPECT_EQ (GetFirstGuidHob (&HalfAnEnd), Second);
  Second->Header.HobLength = 16;
  EXPECT_EQ (GetFirstGuidHob (&HalfAnEnd), nullptr) << "a block that ends within its name";
  Second->Header.HobLength = 4;
  EXPECT_EQ (GetFirstGuidHob (&Absent), nullptr) << "a block shorter than its header is the last";
  Cpu->Header.HobLength = 8;
  Cpu->SizeOfMemorySpace = EFI_HOB_TYPE_GUID_EXTENSION; // and the lower half of a type of 16 bits
  Cpu->SizeOfIoSpace = 0;
  EXPECT_EQ (GetNextHob (EFI_HOB_TYPE_GUID_EXTENSION, Cpu), &Cpu->SizeOfMemorySpace);
  Cpu->Header.HobLength = 4;
  Cpu->Header.Reserved = EFI_HOB_TYPE_GUID_EXTENSION; // what a step of 4 would lead to
  EXPECT_EQ (GetNextHob (EFI_HOB_TYPE_GUID_EXTENSION, Cpu), nullptr);
}

TEST_F (StandaloneMmHobLib, AppendsABlockToTheByte)
{
  Smst.NumberOfTableEntries = 1;
  HobListAddCpu (52, 16);
  EFI_HOB_HANDOFF_INFO_TABLE *HandOff = HobListHead ();
  auto *Old = reinterpret_cast<UINT8 *> (HandOff->EfiEndOfHobList);
  Old[offsetof (EFI_HOB_GENERIC_HEADER, Reserved)] = 0xEE;

  const UINT8 Data[] = {0xD0, 0xD1, 0xD2, 0xD3};
  EXPECT_EQ (BuildGuidDataHob (&Name, Data, sizeof Data), Old + 24);
  const std::vector<UINT8> Expected = {
      0x04, 0x00, 0x20, 0x00, 0x00, 0x00, 0x00, 0x00, // type 4, 32 bytes
      0x44, 0x33, 0x22, 0x11, 0x66, 0x55, 0x88, 0x77, // name
      0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, //
      0xD0, 0xD1, 0xD2, 0xD3, 0xA5, 0xA5, 0xA5, 0xA5, // data, and what was there before
      0xFF, 0xFF, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, // end
      0xA5,                                           // free
  };
  EXPECT_EQ (std::vector<UINT8> (Old, Old + Expected.size ()), Expected);
  EXPECT_EQ (HandOff->EfiFreeMemoryBottom + 0, reinterpret_cast<UINTN> (Old) + 40);
  EXPECT_EQ (GetFirstGuidHob (&Name), Old);
}

TEST_F (StandaloneMmHobLib, AppendsWhatFitsAndElseChangesNothing)
{
  Smst.NumberOfTableEntries = 1;
  const struct {
    UINTN DataLength;
    UINTN FreeMemory;
    UINTN HobLength; // 0 for a refusal
  } Rows[] = {
      {0, 24, 24},           {0, 23, 0},           {1, 32, 32},          {1, 31, 0},
      {65504, 65528, 65528}, {65505, 0x100000, 0}, {65513, 0x100000, 0}, {~0ULL, 0x100000, 0},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (testing::Message () << Row.DataLength << " into " << Row.FreeMemory);
    HobListReset ();
    EFI_HOB_HANDOFF_INFO_TABLE *HandOff = HobListHead ();
    auto *Hob = reinterpret_cast<EFI_HOB_GUID_TYPE *> (HandOff->EfiEndOfHobList);
    HandOff->EfiFreeMemoryTop = HandOff->EfiFreeMemoryBottom + Row.FreeMemory;
    const EFI_HOB_HANDOFF_INFO_TABLE Before = *HandOff;

    EXPECT_EQ (BuildGuidHob (&Name, Row.DataLength), Row.HobLength == 0 ? nullptr : Hob + 1);
    EXPECT_EQ (Hob->Header.HobLength + 0U, Row.HobLength == 0 ? 8 : Row.HobLength);
    EXPECT_EQ (std::memcmp (&Before, HandOff, sizeof Before) == 0, Row.HobLength == 0);
  }
}

} // namespace
