#include "CxlIpLib.h"

#include <cstring>

#include "FirmwareTestBench.h"
#include "SystemInfoLib.h"

namespace {

constexpr UINT8 Socket = 3;
constexpr UINT8 Stack = 7;

class CxlIpLib : public FirmwareTestBench {
public:
  CxlIpLib ()
  {
    std::memset (&Record, 0, sizeof Record);
    mSystemInfoRecord = &Record;
    Machine.Pci.Clear ();
    Machine.Pci.Transcript = &Accesses;
  }

  /// Sets the entry of the stack by its place in the record.
  void
  SetRcrb (UINT64 Base, UINT8 Valid)
  {
    auto *Bytes = reinterpret_cast<UINT8 *> (&Record);
    std::memcpy (Bytes + 1318 + 9 * (12 * Socket + Stack), &Base, sizeof Base);
    Bytes[1326 + 9 * (12 * Socket + Stack)] = Valid;
  }

  SystemInfoRecord Record;
  AccessTranscript Accesses;
};

TEST_F (CxlIpLib, ReadsTheUpstreamRcrbTwiceAndTakesTheSecondAnswer)
{
  SetRcrb (0x1D0000000, 0x80); // Only the low 32 bits of the base count.
  Machine.Pci.AddCxlLink (0xD0000000, true);
  EXPECT_EQ (CxlRcrbReadsAllOnes (Socket, Stack), FALSE);
  const AccessTranscript Twice = {"mmio in D0001000 5A5A5A5A", "mmio in D0001000 5A5A5A5A"};
  EXPECT_EQ (Accesses, Twice);
}

TEST_F (CxlIpLib, ProbesNoBaseOfZero)
{
  const std::string Assertion = "ServerSiliconPkg/Library/CxlIpLib/CxlIpLib:2469 RcrbBaseAddr != 0";
  const std::string Warning = "\nWARNING: CXL DP RCRBBAR is 0!!\n";
  const struct {
    UINT64 Base;
    UINT8 Valid;
    bool HasRecord;
    std::string Message;
    UINT64 Bar;
  } Rows[] = {
      {0xD0000000, 0, true, Warning, 0},
      {0xD0000000, 1, false, Warning, 0},
      {0x300000000, 1, true, "", 0x300000000},
  };
  for (const bool Stops : {false, true}) {
    Machine.Pci.Clear (); // Any probe is a fault.
    for (const auto &Row : Rows) {
      SCOPED_TRACE (&Row - Rows);
      World.Forget ();
      SetRcrb (Row.Base, Row.Valid);
      mSystemInfoRecord = Row.HasRecord ? &Record : nullptr;
      EXPECT_EQ (StoppedAt ([] { EXPECT_EQ (CxlRcrbReadsAllOnes (Socket, Stack), TRUE); }),
                 Stops ? Assertion : "");
      EXPECT_EQ (Messages (), Stops ? Row.Message : "");
      EXPECT_EQ (CxlGetDownstreamRcrbBar (Socket, Stack), Row.Bar);
    }
    InstallDebugService ();
  }
}

} // namespace
