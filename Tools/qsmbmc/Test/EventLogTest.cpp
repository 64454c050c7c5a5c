#include "EventLog.h"

#include <csignal>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "InputFile.h"
#include "TemporaryDirectory.h"

namespace {

constexpr UINT8 Data[] = {0, 2, 1, 'A', '"', 0};
const std::string Line1 = R"({"sequence":1,"class":"memory","severity":"Warning","id":"A\"",)"
                          R"("bytes":"00 02 01 41 22 00"})"
                          "\n";
const std::string Line2 = Line1.substr (0, 12) + "2" + Line1.substr (13);

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
    EXPECT_EQ (Log.Append (Data), 0);
    EXPECT_EQ (Log.LastSequence (), Row.Last + 1);
    EXPECT_EQ (Read (), Row.Kept + EventJson (Row.Last + 1, Data) + "\n");
    EXPECT_THROW (EventLog Second (File), InputError);
  }
  EXPECT_EQ (EventJson (2, Data) + "\n", Line2);
  EXPECT_EQ (EventText (2, Data), "2: memory, Warning, \"A\"\": 00 02 01 41 22 00");
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
  EXPECT_EQ (Log.Append (Data), 0);
  const rlimit Small = {.rlim_cur = Line1.size () + 10, .rlim_max = Limit.rlim_max};
  ASSERT_EQ (setrlimit (RLIMIT_FSIZE, &Small), 0);
  EXPECT_NE (Log.Append (Data), 0);
  ASSERT_EQ (setrlimit (RLIMIT_FSIZE, &Limit), 0);
  EXPECT_EQ (Read (), Line1);
  EXPECT_EQ (Log.Append (Data), 0);
  EXPECT_EQ (Read (), Line1 + Line2);
}

} // namespace
