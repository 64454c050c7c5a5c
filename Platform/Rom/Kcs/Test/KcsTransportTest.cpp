#include "KcsTransport.h"

#include <functional>
#include <numeric>
#include <utility>

#include <gtest/gtest.h>

#include "SimulatedKcs.h"

namespace {

using Bytes = std::vector<UINT8>;

constexpr UINTN StatusReadsMax =
    KCS_POLL_COUNT_MAX + KCS_ATTEMPT_COUNT_MAX * KCS_RECOVERY_POLL_COUNT_MAX + 16;

Bytes
Counting (Bytes Start, std::size_t Size)
{
  const std::size_t Known = Start.size ();
  Start.resize (Known + Size);
  std::iota (Start.begin () + static_cast<std::ptrdiff_t> (Known), Start.end (), UINT8{1});
  return Start;
}

/// Lets something happen once while a processor pauses.
struct PausingBus : DeviceBus {
  void
  Pause () override
  {
    if (const auto Once = std::exchange (WhenPaused, nullptr)) {
      Once ();
    }
  }

  std::function<void ()> WhenPaused;
};

struct KcsTransfer : testing::Test {
  KcsTransfer ()
  {
    gHostMachine = &Bus;
  }
  ~KcsTransfer () override
  {
    gHostMachine = nullptr;
  }

  EFI_STATUS
  Send (const Bytes &Data, UINT8 Room = 252)
  {
    const IpmiRequest Request = {.NetFunction = 0x32,
                                 .Lun = 0,
                                 .Command = 0x2C,
                                 .DataSize = static_cast<UINT8> (Data.size ()),
                                 .Data = Data.data ()};
    Response.assign (Room, 0xEE);
    UINT8 Size = Room;
    const UINTN Before = Bmc.StatusReads;
    const EFI_STATUS Status = KcsSendToBmc (nullptr, &Request, Response.data (), &Size);
    EXPECT_LE (Bmc.StatusReads - Before, StatusReadsMax);
    EXPECT_LE (Size, Room);
    Response.resize (Size);
    return Status;
  }

  /// The next request must get its own answer, whatever happened to the one before.
  void
  ExpectRecovery ()
  {
    Bmc.SilentAt = SimulatedKcs::Never;
    EXPECT_EQ (Send ({0xAA}), EFI_SUCCESS);
    EXPECT_EQ (Bmc.Requests.back (), (Bytes{0xC8, 0x2C, 0xAA}));
    EXPECT_EQ (Response, (Bytes{0, static_cast<UINT8> (Bmc.Requests.size ())}));
  }

  PausingBus Bus;
  SimulatedKcs Bmc{Bus};
  Bytes Response;
};

TEST_F (KcsTransfer, HandsOverRequestsOfEverySize)
{
  for (const std::size_t Size : {0U, 1U, 4U, 153U, 255U}) {
    SCOPED_TRACE (Size);
    EXPECT_EQ (Send (Counting ({}, Size)), EFI_SUCCESS);
    EXPECT_EQ (Bmc.Requests.back (), Counting ({0xC8, 0x2C}, Size));
  }
  EXPECT_EQ (Bmc.Requests.size (), 5U);
}

TEST_F (KcsTransfer, TakesTheAnswerToItsOwnRequestOnly)
{
  const Bytes Stale = {0xCC, 0x2D, 0x00, 0x77};
  const struct {
    const char *Name;
    std::deque<Bytes> Answers;
    UINT8 Room;
    EFI_STATUS Status;
    Bytes Response;
  } Rows[] = {
      {"completion code alone", {{0xCC, 0x2C, 0x00}}, 252, EFI_SUCCESS, {0x00}},
      {"bad completion code", {{0xCC, 0x2C, 0xC1}}, 252, EFI_SUCCESS, {0xC1}},
      {"fills the room", {{0xCC, 0x2C, 0x00, 1, 2}}, 3, EFI_SUCCESS, {0x00, 1, 2}},
      {"one too long", {{0xCC, 0x2C, 0xD4, 1, 2}}, 2, EFI_BUFFER_TOO_SMALL, {0xD4, 1}},
      {"beyond a byte's count",
       {Counting ({0xCC, 0x2C}, 300)},
       255,
       EFI_BUFFER_TOO_SMALL,
       Counting ({}, 255)},
      {"empty", {{}}, 252, EFI_DEVICE_ERROR, {}},
      {"no Cmd", {{0xCC}}, 252, EFI_DEVICE_ERROR, {}},
      {"no completion code", {{0xCC, 0x2C}}, 252, EFI_DEVICE_ERROR, {}},
      {"another Cmd first", {Stale, {0xCC, 0x2C, 0x00}}, 252, EFI_SUCCESS, {0x00}},
      {"another NetFn first", {{0x1C, 0x2C, 1}, {0xCC, 0x2C, 0}}, 252, EFI_SUCCESS, {0x00}},
      {"an echo first", {{0xC8, 0x2C, 1}, {0xCC, 0x2C, 0}}, 252, EFI_SUCCESS, {0x00}},
      {"others only", {Stale, Stale, Stale}, 252, EFI_TIMEOUT, {}},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    Bmc.Answers = Row.Answers;
    EXPECT_EQ (Send ({1}, Row.Room), Row.Status);
    EXPECT_EQ (Response, Row.Response);
    ExpectRecovery ();
  }
}

TEST_F (KcsTransfer, GivesUpOnASilentBmcAndRecoversWhenItWakes)
{
  (void)Send ({1, 2});
  const UINTN WriteCount = Bmc.Writes;
  ASSERT_EQ (WriteCount, 10U); // Two codes, four bytes, and a read code for each of four.
  for (const bool TakesInput : {false, true}) {
    for (UINTN At = 1; At <= WriteCount; ++At) {
      SCOPED_TRACE (testing::Message () << "write " << At << ", input taken " << TakesInput);
      Bmc.TakesInputWhenSilent = TakesInput;
      Bmc.SilentAt = Bmc.Writes + At;
      // A code that is taken and changes no state breaks the protocol.
      EXPECT_EQ (Send ({1, 2}), TakesInput && At == 1 ? EFI_DEVICE_ERROR : EFI_TIMEOUT);
      EXPECT_EQ (Response, Bytes{});
      ExpectRecovery ();
    }
  }
  Bmc.TakesInputWhenSilent = false;
  Bmc.SilentAt = 0;
  Bmc.IoWrite8 (KCS_DATA_PORT, 0);
  const UINTN Before = Bmc.StatusReads;
  EXPECT_EQ (Send ({1, 2}), EFI_TIMEOUT) << "the input is full from the start";
  EXPECT_LE (Bmc.StatusReads - Before, 2 * KCS_RECOVERY_POLL_COUNT_MAX);
  ExpectRecovery ();
}

TEST_F (KcsTransfer, SendsAgainOnlyWhatTheBmcHasNotGot)
{
  for (UINTN At = 1; At <= 10; ++At) {
    SCOPED_TRACE (At);
    const UINTN Before = Bmc.Requests.size ();
    Bmc.ErrorAt = Bmc.Writes + At;
    // Write 6 is the last byte: the BMC might have acted on it.
    EXPECT_EQ (Send ({1, 2}), At < 6 ? EFI_SUCCESS : EFI_DEVICE_ERROR);
    EXPECT_EQ (Bmc.Requests.size () - Before, At == 6 ? 0U : 1U);
    ExpectRecovery ();
  }
}

TEST_F (KcsTransfer, FindsNoInterfaceAtOnce)
{
  Bmc.Absent = true;
  EXPECT_EQ (Send ({1}), EFI_NOT_FOUND);
  EXPECT_LT (Bmc.StatusReads, 100U);
  EXPECT_EQ (Bmc.Writes, 0U);
}

TEST_F (KcsTransfer, LeavesTheInterfaceToTheProcessorThatHasIt)
{
  const IpmiRequest Other = {.NetFunction = 6, .Lun = 0, .Command = 1, .DataSize = 0, .Data = {}};
  EFI_STATUS Status = EFI_SUCCESS;
  Bus.WhenPaused = [&] {
    UINT8 Byte = 0;
    UINT8 Size = 1;
    Status = KcsSendToBmc (nullptr, &Other, &Byte, &Size);
  };
  EXPECT_EQ (Send ({1}), EFI_SUCCESS);
  EXPECT_EQ (Status, EFI_TIMEOUT);
  EXPECT_EQ (Bmc.Requests.size (), 1U);
}

} // namespace
