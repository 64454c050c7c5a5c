#include "BaseIoLibIntrinsic.h"

#include <sstream>

#include "ModuleTestBench.h"
#include "SmmServicesTableLib.h"

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
  NotingMachine Machine;
  UseMachine (Machine);
  const auto Check = [&] (auto Call, UINTN Width, UINT32 Result, const std::string &Access,
                          const std::string &Stop) {
    for (const UINTN Address : {4U, 5U, 6U, 7U}) {
      SCOPED_TRACE (Access + std::to_string (Address));
      const bool Stops = gSmst != nullptr && Address % Width != 0;
      Machine.Note.str ("");
      EXPECT_EQ (StoppedAt ([&] { EXPECT_EQ (Call (Address), Result); }),
                 Stops ? "MdePkg/Library/BaseIoLibIntrinsic/IoLib:" + Stop : "");
      EXPECT_EQ (Machine.Note.str (), Stops ? "" : Access + std::to_string (Address));
    }
  };
  const auto Write16 = [] (UINTN Address) { return MmioWrite16 (Address, 0xFEDC); };
  const auto Write32 = [] (UINTN Address) { return MmioWrite32 (Address, 0xFEDCBA98); };
  for (const bool WithService : {false, true}) {
    if (WithService) {
      InstallDebugService ();
    }
    Check (MmioRead16, 2, 0xCDEF, "read 2 at ", "177 (Address & 1) == 0");
    Check (Write16, 2, 0xFEDC, "write 2 fedc at ", "223 (Address & 1) == 0");
    Check (MmioRead32, 4, 0x89ABCDEF, "read 4 at ", "269 (Address & 3) == 0");
    Check (Write32, 4, 0xFEDCBA98, "write 4 fedcba98 at ", "316 (Address & 3) == 0");
  }
}

} // namespace
