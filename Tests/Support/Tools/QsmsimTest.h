/// The bench for qsmsim.
#pragma once

#include "Qsmsim.h"
#include "ToolTest.h"

class QsmsimTest : public ToolTest {
public:
  QsmsimTest () : ToolTest ("qsmsim", QsmsimMain) {}

  /// Makes files that a test needs; must succeed without a word.
  void
  Make (const std::string &Line)
  {
    const ToolResult Result = Run ("make " + Line);
    EXPECT_EQ (Result.ExitCode, 0) << Result.Err;
    EXPECT_EQ (Result.Out + Result.Err, "");
  }
};
