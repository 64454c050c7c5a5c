/// Several drivers in one boot: the first builds what they share, and the others find it.

#include "TestPlatform.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>
#include <thread>

#include "ExecutingProcessor.h"
#include "FaultPlan.h"
#include "HobList.h"
#include "Pool.h"
#include "Record/RasMailBox.h"
#include "StatusCodeRouter.h"

namespace {

constexpr UINTN MaskTopByte = 0x4F;

using Print = VOID EFIAPI (UINTN Level, const CHAR8 *Format, ...);

/// The blocks of both pools.
std::map<UINT8 *, std::vector<UINT8>>
LiveBlocks ()
{
  std::map<UINT8 *, std::vector<UINT8>> Blocks;
  for (const Pool &Each : gPools) {
    for (const PoolBlock &Block : Each.Blocks) {
      if (Block.Live) {
        Blocks[Block.Address] = {Block.Address, Block.Address + Block.Size};
      }
    }
  }
  return Blocks;
}

TEST (TwoDrivers, ShareTheBuffersOfTheFirst)
{
  SimulatedPlatform Platform (TwoSockets ({}));
  Platform.LoadDriver ();
  const std::string Store = StoreText ();
  auto Before = LiveBlocks ();
  for (auto &[Address, Bytes] : Before) {
    if (Bytes.size () == sizeof (RasMailBox)) {
      const auto &MailBox = *reinterpret_cast<RasMailBox *> (Address);
      EXPECT_EQ (+MailBox.MailBoxWord, 3U);
      const LIST_ENTRY *Head = MailBox.ListHead;
      EXPECT_EQ (Head->ForwardLink, Head);
      EXPECT_EQ (Head->BackLink, Head);
    }
    if (Bytes.size () > 100) { // All but the locks and the SMRAM map: what other users may write.
      std::fill (Bytes.begin (), Bytes.end (), 0xA5);
      std::copy (Bytes.begin (), Bytes.end (), Address);
    }
  }
  for (UINTN Later = 1; Later <= 2; ++Later) {
    const UINTN Reads = gFaultPlan.Calls[ServiceGetVariable];
    EXPECT_EQ (Platform.LoadDriver ().Status, EFI_SUCCESS);
    EXPECT_EQ (gFaultPlan.Calls[ServiceGetVariable], Reads + 7);
    EXPECT_EQ (gFaultPlan.Calls[ServiceSetVariable], 7U) << "by the first driver";
    EXPECT_EQ (gFaultPlan.Calls[ServiceRegisterPolicy], 7U);
    EXPECT_EQ (StoreText (), Store);
    const auto After = LiveBlocks ();
    EXPECT_EQ (After.size (), Before.size () + 2) << "its SMRAM map and its processor table";
    EXPECT_TRUE (std::includes (After.begin (), After.end (), Before.begin (), Before.end ()));
    Before = After;
  }
  EXPECT_EQ (StatusCodeListenerCount (), 3U);
}

TEST (TwoDrivers, TakeThePortAndTheMaskAsTheFirstHasFoundThem)
{
  SimulatedPlatform Platform (TwoSockets ({}));
  Platform.Machine.Cmos.Bytes[MaskTopByte] = 0x08;
  Platform.LoadDriver ();
  const EFI_PHYSICAL_ADDRESS End = HobListHead ()->EfiEndOfHobList;
  const std::string Sent = std::exchange (Platform.Machine.Uart.Sent, "");
  AccessTranscript Cmos, Uart;
  Platform.Machine.Cmos.Transcript = &Cmos;
  Platform.Machine.Uart.Transcript = &Uart;
  Platform.LoadDriver ();
  EXPECT_EQ (Platform.Machine.Uart.Sent, Sent.substr (Sent.find ("InitializeErrorReportLib")))
      << "behind the lines of the IIO topology";
  EXPECT_TRUE (Cmos.empty ());
  EXPECT_EQ (HobListHead ()->EfiEndOfHobList, End);
  EXPECT_EQ (std::count (Uart.begin (), Uart.end (), "io out 3FA 01"), 0) << "not set up again";
}

TEST (TwoDrivers, KeepTheLinesOfTwoProcessorsWholeAndNameTheirPlaces)
{
  const struct {
    UINTN Level; ///< An ordinary line, and one that goes by the second lock.
    std::string Lines[2];
  } Rows[] = {{0x01000000, {"a line\r", "a line\r"}},
              {0x20000000, {"S0 C0 T0 a line\r", "S1 C2 T1 a line\r"}}};
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Level);
    PlatformDescription Description = TwoSockets ({});
    Description.Processors[1].ApicId = 0x85;
    SimulatedPlatform Platform (Description);
    Platform.Machine.Cmos.Bytes[MaskTopByte] = 0x21;
    std::vector<std::thread> Threads;
    Platform.LoadDriver ();
    Platform.LoadDriver ();
    for (UINTN Processor = 0; Processor < 2; ++Processor) {
      Platform.Machine.Processor (Processor).Msrs[0xCE] = 0x1900; // Ticks of the lock's time-out.
      Threads.emplace_back ([&, Processor] {
        const OnProcessor Acting (Processor);
        for (UINTN Line = 0; Line < 50; ++Line) {
          Platform.Drivers[Processor]->Symbol<Print> ("RasDebugPrint") (Row.Level, "a line\n");
        }
      });
    }
    for (std::thread &Thread : Threads) {
      Thread.join ();
    }
    std::istringstream Sent (Platform.Machine.Uart.Sent);
    UINTN Count = 0;
    for (std::string Line; std::getline (Sent, Line); ++Count) {
      EXPECT_TRUE (Line == Row.Lines[0] || Line == Row.Lines[1]) << Line;
    }
    EXPECT_EQ (Count, 100U);
  }
}

} // namespace
