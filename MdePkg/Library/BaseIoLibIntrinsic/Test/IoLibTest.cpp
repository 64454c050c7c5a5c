#include "BaseIoLibIntrinsic.h"

#include <sstream>

#include "ModuleTestBench.h"

namespace {

/// Reads a pattern wider than asked for, and notes each access.
class NotingMachine : public StoppingMachine {
public:
  UINT32
  MmioRead (UINTN Address, UINTN Width) override
  {
    Note << "read " << Width << " at " << Address;
    return 0x89ABCDEF;
  }

  void
  MmioWrite (UINTN Address, UINTN Width, UINT32 Value) override
  {
    Note << std::hex << "write " << Width << " " << Value << " at " << Address;
  }

  std::ostringstream Note;
};

using BaseIoLibIntrinsic = ModuleTestBench;

TEST_F (BaseIoLibIntrinsic, MakesOneAccessBehindTheCheckOfItsAlignment)
{
  const struct {
    UINT32 (*Call) (UINTN Address);
    UINTN Width;
    UINT32 Result;
    std::string Access;
    std::string Stop;
  } Rows[] = {
      {[] (UINTN Address) -> UINT32 { return MmioRead16 (Address); }, 2, 0xCDEF, "read 2 at ",
       "177 (Address & 1) == 0"},
      {[] (UINTN Address) -> UINT32 { return MmioWrite16 (Address, 0xFEDC); }, 2, 0xFEDC,
       "write 2 fedc at ", "223 (Address & 1) == 0"},
      {[] (UINTN Address) -> UINT32 { return MmioRead32 (Address); }, 4, 0x89ABCDEF, "read 4 at ",
       "269 (Address & 3) == 0"},
      {[] (UINTN Address) -> UINT32 { return MmioWrite32 (Address, 0xFEDCBA98); }, 4, 0xFEDCBA98,
       "write 4 fedcba98 at ", "316 (Address & 3) == 0"},
  };
  for (const bool WithService : {false, true}) {
    if (WithService) {
      InstallDebugService ();
    }
    for (const auto &Row : Rows) {
      for (const UINTN Address : {4U, 5U, 6U, 7U}) {
        SCOPED_TRACE (Row.Access + std::to_string (Address));
        NotingMachine Machine;
        UseMachine (Machine);
        const bool Stops = WithService && Address % Row.Width != 0;
        EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (Row.Call (Address), Row.Result); }),
                   Stops ? "MdePkg/Library/BaseIoLibIntrinsic/IoLib:" + Row.Stop : "");
        EXPECT_EQ (Machine.Note.str (), Stops ? "" : Row.Access + std::to_string (Address));
      }
    }
  }
}

} // namespace
