#include "ProcessorTestBench.h"

namespace {

using LocalApic = ProcessorTestBench;

TEST_F (LocalApic, PrefersTheInitialIdOnlyWhereItExceedsTheRegister)
{
  const auto IdOf = [this] (UINT32 MaxBasic, UINT32 Ebx, UINT32 Edx) {
    auto &Processor = UseProcessor ("intel-sapphire-rapids", 0x47, ApicMode::XApic);
    Processor.CpuidAnswers[{0, 0}].Eax = MaxBasic;
    Processor.CpuidAnswers[{1, 0}].Ebx = 0x12800800;
    Processor.CpuidAnswers[{0xB, 0}] = {1, Ebx, 0x100, Edx};
    return GetApicId ();
  };
  EXPECT_EQ (IdOf (0x20, 0x2, 0xFF), 0x47U);
  EXPECT_EQ (IdOf (0xB, 0x8000, 0xFFFFFFFF), 0xFFFFFFFF);
  EXPECT_EQ (IdOf (0xA, 0x2, 0x100), 0x47U) << "no topology leaf";
  EXPECT_EQ (IdOf (0x20, 0x10000, 0x100), 0x47U) << "no topology level";
}

TEST_F (LocalApic, CutsTheX2ApicIdTo32BitsAndLeavesAnXApicRegisterAsItIs)
{
  UseProcessor ("intel-sapphire-rapids", 0x47, ApicMode::X2Apic).Msrs[0x802] = 0x500000047;
  EXPECT_EQ (ReadLocalApicIdRegister (), 0x47U);
  UseProcessor ("intel-sapphire-rapids", 0x47, ApicMode::XApic, 0xFFFFFFFED4000);
  EXPECT_EQ (ReadLocalApicIdRegister (), 0x47000000U);
}

TEST_F (LocalApic, NeverReadsApicBaseOnFamilies4And5)
{
  const std::map<UINT32, bool> Rows = {
      {0x000003FF, true}, {0x000004F3, false}, {0x0FF0F5FF, false},
      {0x00000600, true}, {0x00500FFF, true},  {0x000FF0FF, true},
  };
  for (const auto &[Version, Supported] : Rows) {
    SCOPED_TRACE (Version);
    auto &Processor = UseProcessor ("intel-sapphire-rapids", 0x47, ApicMode::X2Apic);
    Processor.Msrs[0x1B] = 0xFFFFFFFFFEC00FFF;
    Processor.CpuidAnswers[{1, 0}].Eax = Version;
    EXPECT_EQ (LocalApicBaseAddressMsrSupported (), Supported);
    EXPECT_EQ (GetLocalApicBaseAddress (), Supported ? 0xFFFFFFFFFEC00000 : 0xFEE00000);
    EXPECT_EQ (GetApicMode (), Supported ? LOCAL_APIC_MODE_X2APIC : LOCAL_APIC_MODE_XAPIC);
    EXPECT_EQ (Processor.MsrReads.contains (0x1B), Supported);
  }
}

TEST_F (LocalApic, AssertsThatItIsEnabledAndGoesOnByTheModeBit)
{
  auto &Processor = UseProcessor ("intel-sapphire-rapids", 0x47, ApicMode::X2Apic);
  Processor.Msrs[0x1B] = 0xFFFFFFFFFFFFF7FF;
  EXPECT_EQ (GetApicMode (), LOCAL_APIC_MODE_X2APIC);
  InstallDebugService ();
  EXPECT_EQ (StoppedAt ([] { CallDriver (GetApicMode); }),
             "UefiCpuPkg/Library/BaseXApicX2ApicLib/BaseXApicX2ApicLib:460 "
             "ApicBaseMsr.Bits.EN != 0");
  Processor.Msrs[0x1B] = 0x800;
  EXPECT_EQ (GetApicMode (), LOCAL_APIC_MODE_XAPIC);
}

TEST_F (LocalApic, RoutesAllButTheVirtualisedMsrsOfATdxGuestThroughTheHost)
{
  UseProcessor ("intel-tdx-guest", 6, ApicMode::X2Apic);
  for (UINT32 Msr = 0; Msr < 0x900; ++Msr) {
    const bool Direct =
        Msr == 0x808 || Msr == 0x80A || Msr == 0x80B || (Msr >= 0x810 && Msr <= 0x827);
    ASSERT_EQ (LocalApicMsrUsesTdVmCall (Msr), !Direct) << Msr;
  }
  EXPECT_TRUE (LocalApicMsrUsesTdVmCall (0xFFFFFFFF));
}

TEST_F (LocalApic, TakesNoOtherProcessorForATdxGuest)
{
  using Registers = CpuidRegisters;
  const std::tuple<UINT32, UINT32 Registers::*> Rows[] = {
      {0, &Registers::Eax},    {0, &Registers::Ebx},    {0, &Registers::Ecx},
      {0, &Registers::Edx},    {1, &Registers::Ecx},    {0x21, &Registers::Ebx},
      {0x21, &Registers::Ecx}, {0x21, &Registers::Edx},
  };
  for (const auto &[Leaf, Register] : Rows) {
    auto &Processor = UseProcessor ("intel-tdx-guest", 6, ApicMode::X2Apic);
    Processor.Msrs[0x802] = 6;
    Processor.CpuidAnswers[{Leaf, 0}].*Register ^= Leaf == 0 ? 1 : 1U << 31;
    EXPECT_EQ (LocalApicReadMsr64 (0x802), 6U);
    EXPECT_TRUE (Processor.VmCalls.empty ()) << "leaf " << Leaf;
  }
}

TEST_F (LocalApic, HaltsAGuestWhoseHostRefusesAnMsr)
{
  using Calls = std::vector<std::array<UINT64, 5>>;
  auto &Processor = UseProcessor ("intel-tdx-guest", 6, ApicMode::X2Apic);
  Processor.HostMsrs[0x809] = 0x123456789ABCDEF0;
  EXPECT_EQ (LocalApicReadMsr64 (0x809), 0x123456789ABCDEF0U);
  EXPECT_EQ (Processor.VmCalls, (Calls{{31, 0x809, 0, 0, 0}}));
  EXPECT_TRUE (Processor.MsrReads.empty ());

  Processor.VmCalls.clear ();
  Processor.HostMsrStatus = 0x8000000000000000;
  EXPECT_THROW (CallDriver (LocalApicReadMsr64, 0x809), ProcessorStopped);
  EXPECT_EQ (Processor.VmCalls, (Calls{{31, 0x809, 0, 0, 0}, {12, 0, 0, 0, 0}}));

  Processor.HaltReturns = true;
  EXPECT_EQ (LocalApicReadMsr64 (0x809), 0U);
}

} // namespace
