#include "IpmiFrame.h"

#include <gtest/gtest.h>

namespace {

using Bytes = std::vector<UINT8>;

/// The frames of a stream as bytes, each with its kind in front.
std::vector<Bytes>
FramesOf (const Bytes &Stream)
{
  FrameReader Reader;
  std::vector<Bytes> Frames;
  for (const UINT8 Byte : Stream) {
    if (auto Frame = Reader.Take (Byte)) {
      Frame->Bytes.insert (Frame->Bytes.begin (), static_cast<UINT8> (Frame->Kind));
      Frames.push_back (Frame->Bytes);
    }
  }
  return Frames;
}

TEST (FrameReader, FindsTheFramesOfAnyStream)
{
  const Bytes Largest (FRAME_SIZE_MAX, 0x55);
  const auto Joined = [] (Bytes First, const Bytes &Second) {
    First.insert (First.end (), Second.begin (), Second.end ());
    return First;
  };
  const struct {
    const char *Name;
    Bytes Stream;
    std::vector<Bytes> Frames;
  } Rows[] = {
      {"both kinds", {1, 2, 0xA0, 0xFF, 1, 0xA1}, {{0xA0, 1, 2}, {0xA1, 0xFF, 1}}},
      {"escapes", {0xAA, 0xB0, 0xAA, 0xB1, 0xAA, 0xBA, 0xA0}, {{0xA0, 0xA0, 0xA1, 0xAA}}},
      {"an escape that needs none", {0xAA, 0x15, 0xA0}, {{0xA0, 0x05}}},
      {"an escape twice", {0xAA, 0xAA, 0xB0, 0xA0}, {{0xA0, 0xA0}}},
      {"an escape cut off", {1, 0xAA, 0xA0, 2, 0xA0}, {{0xA0, 2}}},
      {"empty frames", {0xA0, 0xA1, 0xA0}, {}},
      {"no end", {1, 2, 3}, {}},
      {"the largest", Joined (Largest, {0xA0}), {Joined ({0xA0}, Largest)}},
      {"too large", Joined (Largest, {0x55, 0xA0, 7, 0xA1}), {{0xA1, 7}}},
      {"far too large", Joined (Bytes (1 << 20), {0xA0, 7, 0xA1}), {{0xA1, 7}}},
  };
  for (const auto &Row : Rows) {
    SCOPED_TRACE (Row.Name);
    EXPECT_EQ (FramesOf (Row.Stream), Row.Frames);
  }
}

TEST (EncodeFrame, IsReadBackWhateverItHolds)
{
  Bytes All;
  for (unsigned Byte = 0; Byte < 256; ++Byte) {
    All.push_back (static_cast<UINT8> (Byte));
  }
  const Bytes Stream = EncodeFrame (FrameKind::Control, All);
  EXPECT_EQ (Stream.size (), All.size () + 3 + 1);
  All.insert (All.begin (), 0xA1);
  EXPECT_EQ (FramesOf (Stream), std::vector<Bytes>{All});
}

TEST (DecodeMessage, TakesOnlyWholeMessages)
{
  const IpmiMessage GetDeviceId = {
      .Sequence = 0, .NetFunction = 6, .Lun = 0, .Command = 1, .Data = {}};
  const IpmiMessage Event = {
      .Sequence = 0x81, .NetFunction = 0x33, .Lun = 2, .Command = 0x2C, .Data = {0xC1, 0}};
  const struct {
    Bytes Wire;
    std::optional<IpmiMessage> Message;
  } Rows[] = {
      {{0x00, 0x18, 0x01, 0xE7}, GetDeviceId},
      {{0x81, 0xCE, 0x2C, 0xC1, 0x00, 0xC4}, Event},
      {{0x00, 0x18, 0x01, 0xE6}, std::nullopt},
      {{0x00, 0x18, 0xE8}, std::nullopt},
      {{}, std::nullopt},
  };
  for (const auto &Row : Rows) {
    EXPECT_EQ (DecodeMessage (Row.Wire), Row.Message);
    if (Row.Message) {
      EXPECT_EQ (EncodeMessage (*Row.Message), Row.Wire);
    }
  }
}

} // namespace
