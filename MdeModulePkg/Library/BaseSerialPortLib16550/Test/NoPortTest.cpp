#include "SerialPortBench.h"

namespace {

TEST_F (SerialPortBench, TouchesNothingWhereThereIsNoPort)
{
  EXPECT_EQ (SerialPortInitialize (), RETURN_DEVICE_ERROR);
  EXPECT_EQ (Write ("text"), 0U);
  EXPECT_EQ (Write (""), 0U);
  EXPECT_TRUE (Machine.Transcript.empty ());
  EXPECT_EQ (mSerialPortUsable, TRUE);
}

} // namespace
