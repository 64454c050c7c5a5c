#include "Bmc.h"

#include <utility>

#include <gtest/gtest.h>

#include "EventJudge.h"
#include "EventVectors.h"

namespace {

using Bytes = std::vector<UINT8>;

const Bytes Good = {0, 2, 1, 'A', '1', 0};

IpmiMessage
Request (const Bytes &Data, UINT8 NetFunction = 0x32, UINT8 Command = 0x2C, UINT8 Lun = 0)
{
  return {.Sequence = 9, .NetFunction = NetFunction, .Lun = Lun, .Command = Command, .Data = Data};
}

class BmcTest : public testing::Test {
public:
  /// The messages with which the BMC answers, or answers late, as the machine understands them.
  static std::vector<IpmiMessage>
  Messages (const Bytes &Stream)
  {
    FrameReader Reader;
    std::vector<IpmiMessage> Found;
    for (const UINT8 Byte : Stream) {
      const auto Frame = Reader.Take (Byte);
      if (Frame && Frame->Kind == FrameKind::Message) {
        if (const auto Message = DecodeMessage (Frame->Bytes)) {
          Found.push_back (*Message);
        }
      }
    }
    return Found;
  }

  std::vector<IpmiMessage>
  Ask (const IpmiMessage &Message)
  {
    return Messages (Controller.Take ({FrameKind::Message, EncodeMessage (Message)}));
  }

  std::vector<Bytes> Events;
  CompletionCode Told = CompletionNormal;
  Bytes Refusals; ///< Their completion codes.
  Bmc Controller{[this] (std::span<const UINT8> Data) {
                   Events.emplace_back (Data.begin (), Data.end ());
                   return Told;
                 },
                 [this] (const IpmiMessage &, UINT8 Code) { Refusals.push_back (Code); }};
};

TEST_F (BmcTest, JudgesEventsAsTheModuleOfTheOtherBmcDoes)
{
  ASSERT_GT (EventVectors ().size (), 15U);
  for (const EventVector &Each : EventVectors ()) {
    SCOPED_TRACE (Each.Line);
    Events.clear ();
    const auto Answers = Ask (Request (Each.Data, 0x32, 0x2C, Each.Lun));
    ASSERT_EQ (Answers.size (), 1U);
    EXPECT_EQ (Answers[0].Data, Bytes{Each.CompletionCode});
    EXPECT_EQ (Events.size (), Each.CompletionCode == 0 ? 1U : 0U);
    EXPECT_EQ (JudgeEvent (Each.Lun, Each.Data), Each.CompletionCode);
  }
}

TEST_F (BmcTest, AnswersEachRequestWithItsCompletionCode)
{
  const struct {
    const char *Name;
    IpmiMessage Request;
    UINT8 CompletionCode;
    UINTN EventCount = 0;
  } Rows[] = {
      {"an event", Request (Good), 0x00, 1},
      {"another OEM command", Request (Good, 0x32, 0x2D), 0xC1},
      {"another network function", Request (Good, 0x30), 0xC1},
      {"Get Device ID", Request ({}, 6, 1), 0x00},
      {"Get Device ID with data", Request ({0}, 6, 1), 0xC7},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    Events.clear ();
    const auto Answers = Ask (Row.Request);
    ASSERT_EQ (Answers.size (), 1U);
    IpmiMessage Expected = Row.Request;
    Expected.NetFunction |= 1;
    Expected.Data = Answers[0].Data;
    EXPECT_EQ (Answers[0], Expected);
    EXPECT_EQ (Expected.Data[0], Row.CompletionCode);
    EXPECT_EQ (std::exchange (Refusals, {}),
               Row.CompletionCode == 0 ? Bytes{} : Bytes{Row.CompletionCode});
    EXPECT_EQ (Events, std::vector<Bytes> (Row.EventCount, Row.Request.Data));
  }
  EXPECT_EQ (Ask (Request ({}, 6, 1))[0].Data.size (), 12U);
  Told = CompletionOutOfSpace;
  EXPECT_EQ (Ask (Request (Good))[0].Data, Bytes{0xC4});
  EXPECT_EQ (Refusals, Bytes{0xC4});
}

TEST_F (BmcTest, SaysNothingToWhatIsNoRequest)
{
  const Bytes Message = EncodeMessage (Request (Good));
  EXPECT_TRUE (Controller.Take ({FrameKind::Control, Message}).empty ());
  EXPECT_TRUE (Controller.Take ({FrameKind::Message, {1, 2}}).empty ());
  EXPECT_TRUE (Ask (Request (Good, 0x33)).empty ());
  EXPECT_TRUE (Events.empty ());
}

TEST_F (BmcTest, FailsAsItsModeTells)
{
  const struct {
    const char *Mode;
    std::vector<Bytes> Answers; ///< Data of what the machine can understand.
    bool IsTaken = true;
  } Rows[] = {
      {"mute", {}},
      {"refuse 0xC0", {{0xC0}}, false},
      {"garbage checksum", {}},
      {"garbage short", {{}}},
      {"garbage foreign", {{0}}},
      {"garbage noise", {}},
      {"late", {}},
      {"normal", {{0}, {0}}},
      {"late", {}},
      {"mute", {}},
      {"normal", {{0}}},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Mode);
    Events.clear ();
    Controller.Mode = ParseBmcMode (Row.Mode);
    EXPECT_EQ (BmcModeText (Controller.Mode), Row.Mode);
    std::vector<Bytes> Answers;
    for (const IpmiMessage &Answer : Ask (Request (Good))) {
      Answers.push_back (Answer.Data);
      EXPECT_EQ (Answer.NetFunction == 0x33, Row.Mode != std::string ("garbage foreign"));
    }
    EXPECT_EQ (Answers, Row.Answers);
    EXPECT_EQ (Events.size (), Row.IsTaken ? 1U : 0U);
  }
  Controller.Mode = ParseBmcMode ("garbage long");
  EXPECT_EQ (Ask (Request (Good))[0].Data.size (), FRAME_SIZE_MAX - 4);
}

TEST_F (BmcTest, SendsALateAnswerOnceAndToTheSameMachine)
{
  Controller.Mode = ParseBmcMode ("late");
  Ask (Request (Good));
  EXPECT_EQ (Messages (Controller.Release ()).size (), 1U);
  EXPECT_TRUE (Controller.Release ().empty ());
  Ask (Request (Good));
  EXPECT_EQ (Controller.Connect (), (Bytes{0xFF, 0x01, 0xA1}));
  EXPECT_TRUE (Controller.Release ().empty ());
}

} // namespace
