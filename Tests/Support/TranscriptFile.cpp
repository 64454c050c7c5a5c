/// Transcripts beside those of the files in Tests/Transcripts.

#include "Transcript.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace {

using Lines = std::vector<std::string>;

/// How a line changes: "  " in both, "- " gone, "+ " new.
using Edit = std::pair<const char *, std::string>;

constexpr std::size_t GoneShown = 2;

/// The shortest way from Expected to Actual, by the lengths of their longest common tails.
std::vector<Edit>
Edits (const Lines &Expected, const Lines &Actual)
{
  std::vector<std::vector<std::size_t>> Common (Expected.size () + 1,
                                                std::vector<std::size_t> (Actual.size () + 1));
  for (std::size_t Left = Expected.size (); Left-- > 0;) {
    for (std::size_t Right = Actual.size (); Right-- > 0;) {
      Common[Left][Right] = Expected[Left] == Actual[Right]
                                ? Common[Left + 1][Right + 1] + 1
                                : std::max (Common[Left + 1][Right], Common[Left][Right + 1]);
    }
  }
  std::vector<Edit> Result;
  std::size_t Left = 0;
  std::size_t Right = 0;
  while (Left < Expected.size () || Right < Actual.size ()) {
    if (Left < Expected.size () && Right < Actual.size () && Expected[Left] == Actual[Right]) {
      Result.emplace_back ("  ", Expected[Left++]);
      ++Right;
    } else if (Left < Expected.size () &&
               (Right == Actual.size () || Common[Left + 1][Right] >= Common[Left][Right + 1])) {
      Result.emplace_back ("- ", Expected[Left++]);
    } else {
      Result.emplace_back ("+ ", Actual[Right++]);
    }
  }
  return Result;
}

Lines
ReadLines (std::istream &&Source)
{
  Lines Result;
  for (std::string Line; std::getline (Source, Line);) {
    Result.push_back (Line);
  }
  return Result;
}

std::string
Joined (const Lines &All)
{
  std::string Text;
  for (const std::string &Line : All) {
    Text += Line + '\n';
  }
  return Text;
}

} // namespace

Lines
Difference (const Lines &Expected, const Lines &Actual, std::size_t Context)
{
  const std::vector<Edit> All = Edits (Expected, Actual);
  const auto IsChange = [&] (std::size_t Index) { return All[Index].first[0] != ' '; };
  Lines Result;
  std::size_t Gone = 0;
  std::size_t Shown = 0; // The place behind the last line that was shown.
  for (std::size_t Place = 0; Place < All.size (); ++Place) {
    bool Near = false;
    for (std::size_t Other = Place - std::min (Place, Context);
         Other < std::min (All.size (), Place + Context + 1); ++Other) {
      Near = Near || IsChange (Other);
    }
    Gone = All[Place].first[0] == '-' ? Gone + 1 : 0;
    if (Near && Gone <= GoneShown) {
      if (Place != Shown) {
        Result.emplace_back ("...");
      }
      Result.push_back (All[Place].first + All[Place].second);
    }
    Shown = Near ? Place + 1 : Shown;
    if (Gone > GoneShown && (Place + 1 == All.size () || All[Place + 1].first[0] != '-')) {
      Result.push_back ("- and " + std::to_string (Gone - GoneShown) + " more");
    }
  }
  return Result;
}

void
ExpectTranscript (const std::string &Name, const Lines &Actual)
{
  const std::filesystem::path Path = std::filesystem::path (QSM_TRANSCRIPTS) / (Name + ".txt");
  if (std::getenv ("QSM_WRITE_TRANSCRIPTS") != nullptr) {
    std::ofstream (Path) << Joined (Actual);
    return;
  }
  const Lines Expected = ReadLines (std::ifstream (Path));
  // A noted text may itself be of several lines.
  const Lines Found = ReadLines (std::istringstream (Joined (Actual)));
  EXPECT_EQ (Joined (Difference (Expected, Found, 3)), "") << "differs from " << Path;
}
