/// The cases under settings with hardware flow control: once with a cable to be detected and a deep
/// FIFO, and once without these.

#include "Pcd.h"
#include "SerialPortBench.h"

namespace {

using FlowControl = SerialPortBench;

TEST_F (FlowControl, SendsByTheStateOfBothLines)
{
  const struct {
    UINT8 ModemStatus;
    UINTN Sent[2]; // without and with a cable to be detected
  } Rows[] = {
      {0xCF, {1, 0}}, // nothing there
      {0xDF, {1, 0}}, // clear to send alone
      {0xEF, {0, 0}}, // data set ready alone
      {0x20, {0, 0}}, {0x30, {1, 1}},
  };
  for (const auto &Row : Rows) {
    Uart.ModemStatus = Row.ModemStatus;
    Uart.Sent.clear ();
    EXPECT_EQ (Write ("a"), Row.Sent[PcdSerialDetectCable]) << Row.ModemStatus + 0;
    EXPECT_EQ (Uart.Sent.size (), Row.Sent[PcdSerialDetectCable]);
  }
}

TEST_F (FlowControl, WaitsForALimitedNumberOfReads)
{
  Uart.HoldModemStatus (0x20, 65535);
  EXPECT_EQ (Write ("a"), 1U);
  Uart.HoldModemStatus (0x20, 65536);
  EXPECT_EQ (Write ("b"), 0U);
  EXPECT_EQ (Uart.Sent, "a");

  Machine.Transcript.clear ();
  Uart.StayBusyForReads (1);
  Uart.HoldModemStatus (0x20, 1);
  EXPECT_EQ (Write (""), 0U);
  EXPECT_EQ (Machine.Transcript,
             (AccessTranscript{"io in 3FD 00", "io in 3FD 60", "io in 3FE 20", "io in 3FE B0"}));
}

TEST_F (FlowControl, SetsUpRateAndFifoAndSendsInBurstsOfItsDepth)
{
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  EXPECT_EQ (Uart.Divisor, PcdSerialDetectCable ? 860 : 1047);
  EXPECT_EQ (Uart.FifoControl, PcdSerialFifoControl);
  EXPECT_EQ (Write (std::string (65, 'x')), 65U);
  EXPECT_EQ (Uart.Bursts.front (), PcdSerialDetectCable ? 64U : 1U);

  // A port like that stays as it is, and one with the other kind of FIFO does not.
  Uart.StayBusyForReads (~UINTN{0});
  EXPECT_EQ (SerialPortInitialize (), RETURN_SUCCESS);
  Uart.FifoControl ^= 0x01;
  Uart.FifoFlags = 0x80;
  EXPECT_EQ (SerialPortInitialize (), RETURN_DEVICE_ERROR);
}

} // namespace
