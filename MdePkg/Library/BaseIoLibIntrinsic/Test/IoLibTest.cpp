#include "BaseIoLibIntrinsic.h"

#include <array>
#include <vector>

#include "ModuleTestBench.h"

namespace {

/// Address, width, and the value written or, at any width, read.
using Access = std::array<UINTN, 3>;

class NotingMachine : public StoppingMachine {
public:
  UINT32
  MmioRead (UINTN Address, UINTN Width) override
  {
    Accesses.push_back ({Address, Width, 0x89ABCDEF});
    return 0x89ABCDEF;
  }

  void
  MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override
  {
    Accesses.push_back ({Address, Width, Value});
  }

  std::vector<Access> Accesses;
};

using BaseIoLibIntrinsic = ModuleTestBench;

TEST_F (BaseIoLibIntrinsic, MakesOneAccessBehindTheCheckOfItsAlignment)
{
  const struct {
    UINT32 (*Call) (UINTN Address);
    UINTN Width;
    UINT32 Value, Result;
    std::string Stop;
  } Rows[] = {
      {[] (UINTN At) -> UINT32 { return MmioRead16 (At); }, 2, 0x89ABCDEF, 0xCDEF,
       "177 (Address & 1) == 0"},
      {[] (UINTN At) -> UINT32 { return MmioWrite16 (At, 0xFEDC); }, 2, 0xFEDC, 0xFEDC,
       "223 (Address & 1) == 0"},
      {[] (UINTN At) { return MmioRead32 (At); }, 4, 0x89ABCDEF, 0x89ABCDEF,
       "269 (Address & 3) == 0"},
      {[] (UINTN At) { return MmioWrite32 (At, 0xFEDCBA98); }, 4, 0xFEDCBA98, 0xFEDCBA98,
       "316 (Address & 3) == 0"},
  };
  NotingMachine Machine;
  UseMachine (Machine);
  for (const bool WithService : {false, true}) {
    for (UINTN Case = 0; Case < 16; ++Case) {
      const auto &Row = Rows[Case / 4];
      const UINTN Address = 4 + Case % 4;
      const bool Stops = WithService && Address % Row.Width != 0;
      Machine.Accesses.clear ();
      EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (Row.Call (Address), Row.Result); }),
                 Stops ? "MdePkg/Library/BaseIoLibIntrinsic/IoLib:" + Row.Stop : "");
      EXPECT_EQ (Machine.Accesses, (std::vector<Access> (!Stops, {Address, Row.Width, Row.Value})));
    }
    InstallDebugService ();
  }
}

} // namespace
