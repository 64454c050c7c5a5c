#include "EventLog.h"

#include <csignal>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "InputFile.h"
#include "TemporaryDirectory.h"

namespace {

constexpr UINT8 Data[] = {0, 2, 1, 'A', '"', 0};
constexpr std::time_t Morning = 1795599000;
const IpmiMessage Foreign = {
    .Sequence = 0, .NetFunction = 0x32, .Lun = 1, .Command = 0x2C, .Data = {0, 7}};

const std::string Line1 = R"({"sequence":1,"time":"2026-11-25T09:30:00Z","class":"memory",)"
                          R"("severity":"Warning","id":"A\"","bytes":"00 02 01 41 22 00"})"
                          "\n";
const std::string Line2 = Line1.substr (0, 12) + "2" + Line1.substr (13);

/// As written before events had a time.
const std::string OldLine1 = Line1.substr (0, 13) + Line1.substr (43);

const std::string Refused = R"({"refused":"command invalid for this LUN","completionCode":194,)"
                            R"("time":"2026-11-25T09:30:00Z","netFunction":50,"lun":1,)"
                            R"("command":44,"bytes":"00 07"})"
                            "\n";

class EventLogTest : public testing::Test {
public:
  void
  Write (const std::string &Text)
  {
    std::ofstream (File, std::ios::binary) << Text;
  }

  std::string
  Read ()
  {
    return ReadInputFile (File, 1 << 20);
  }

  TemporaryDirectory Directory;
  std::filesystem::path File = Directory.Path () / "log";
};

TEST_F (EventLogTest, GoesOnWhereTheLastProcessStopped)
{
  // What was found, what is left of it, and the number of the last event.
  const struct {
    std::string Found, Kept;
    UINT64 Last;
  } Rows[] = {
      {"", "", 0},
      {Line1, Line1, 1},
      {Line2, Line2, 2},
      {OldLine1 + Refused, OldLine1 + Refused, 1},
      {Line1 + Refused + Line2 + Refused.substr (0, 11), Line1 + Refused + Line2, 2},
      {Line1 + Line2.substr (0, Line2.size () - 1), Line1, 1},
      {Line1 + "{", Line1, 1},
      {Line1.substr (0, 30), "", 0},
      {Line1 + Line2.substr (0, 30) + std::string (40, '\0'), Line1, 1},
      {std::string (90, '\0'), "", 0},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Found);
    Write (Row.Found);
    EventLog Log (File);
    EXPECT_EQ (Log.LastSequence (), Row.Last);
    EXPECT_EQ (Log.CutSize (), Row.Found.size () - Row.Kept.size ());
    EXPECT_EQ (Read (), Row.Kept);
    const TakenEvent Next = {Row.Last + 1, Morning, Data};
    EXPECT_EQ (Log.Append (Next), 0);
    EXPECT_EQ (Log.Append (RefusedRequest{Foreign, 0xC2, Morning}), 0);
    EXPECT_EQ (Log.LastSequence (), Row.Last + 1);
    EXPECT_EQ (Read (), Row.Kept + LineJson (Next) + "\n" + Refused);
    EXPECT_THROW (EventLog Second (File), InputError);
  }
  EXPECT_EQ (LineJson (TakenEvent{2, Morning, Data}) + "\n", Line2);
  EXPECT_EQ (LineText (TakenEvent{2, Morning, Data}),
             "2: 2026-11-25T09:30:00Z, memory, Warning, \"A\"\": 00 02 01 41 22 00");
  EXPECT_EQ (LineText (RefusedRequest{Foreign, 0xC2, Morning}),
             "refused: 2026-11-25T09:30:00Z, 0xC2, command invalid for this LUN, NetFn 0x32, "
             "LUN 1, Cmd 0x2C: 00 07");
}

TEST_F (EventLogTest, LeavesAnyOtherFileAlone)
{
  const struct {
    std::string Text, Complaint;
  } Rows[] = {
      {"hello\n", "line 1: expected an event with a sequence number above 0"},
      {"hello", "expected events only"},
      {Line1 + "{}", "expected events only"},
      {Line1 + std::string (3, '\0') + "{", "expected events only"},
      {Line1 + Line1, "line 2: expected an event with a sequence number above 1"},
      {Line2 + Line1, "line 2: expected an event with a sequence number above 2"},
      {"{\"sequence\":-1}\n", "line 1: expected an event with a sequence number above 0"},
      {std::string (1 << 16, '{'), "line 1: expected at most 4096 bytes"},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Complaint);
    Write (Row.Text);
    try {
      const EventLog Log (File);
      ADD_FAILURE ();
    } catch (const InputError &Error) {
      EXPECT_EQ (Error.what (), File.string () + ": " + Row.Complaint);
    }
    EXPECT_EQ (Read (), Row.Text);
  }
}

TEST_F (EventLogTest, KeepsNothingOfAnEventThatDoesNotFit)
{
  std::signal (SIGXFSZ, SIG_IGN);
  rlimit Limit = {};
  ASSERT_EQ (getrlimit (RLIMIT_FSIZE, &Limit), 0);
  EventLog Log (File);
  EXPECT_EQ (Log.Append (TakenEvent{1, Morning, Data}), 0);
  const rlimit Small = {.rlim_cur = Line1.size () + 10, .rlim_max = Limit.rlim_max};
  ASSERT_EQ (setrlimit (RLIMIT_FSIZE, &Small), 0);
  EXPECT_NE (Log.Append (TakenEvent{2, Morning, Data}), 0);
  ASSERT_EQ (setrlimit (RLIMIT_FSIZE, &Limit), 0);
  EXPECT_EQ (Read (), Line1);
  EXPECT_EQ (Log.Append (TakenEvent{2, Morning, Data}), 0);
  EXPECT_EQ (Read (), Line1 + Line2);
}

} // namespace
