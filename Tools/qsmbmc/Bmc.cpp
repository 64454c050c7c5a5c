#include "Bmc.h"

#include <utility>

#include "Event.h"
#include "Record/RequestData.h"

namespace {

constexpr UINT8 APPLICATION_NET_FUNCTION = 0x06;
constexpr UINT8 GET_DEVICE_ID_COMMAND = 0x01;

/// IPMI 2.0, table 20-2: device id, device revision, firmware revision 1.0 whatever the version of
/// the program, IPMI 2.0, no further functions, manufacturer and product unspecified.
constexpr UINT8 DeviceId[] = {0x20, 0x01, 0x01, 0x00, 0x02, 0x00, 0, 0, 0, 0, 0};

/// Responses have odd network functions.
bool
IsRequest (const std::optional<IpmiMessage> &Message)
{
  return Message && (Message->NetFunction & 1) == 0;
}

bool
IsEvent (const IpmiMessage &Request)
{
  return Request.NetFunction == REDFISH_EVENT_NET_FUNCTION &&
         Request.Command == REDFISH_EVENT_COMMAND;
}

/// The bytes that stand for Answer when the answers are garbage.
std::vector<UINT8>
SpoiledFrame (IpmiMessage Answer, GarbageKind Kind)
{
  std::vector<UINT8> Bytes;
  switch (Kind) {
  case GarbageKind::Checksum:
    Bytes = EncodeMessage (Answer);
    ++Bytes.back ();
    break;
  case GarbageKind::Short:
    Answer.Data.clear ();
    Bytes = EncodeMessage (Answer);
    break;
  case GarbageKind::Foreign:
    Answer.NetFunction ^= 2;
    Answer.Command ^= 0xFF;
    Bytes = EncodeMessage (Answer);
    break;
  case GarbageKind::Long:
    Answer.Data.resize (FRAME_SIZE_MAX - EncodeMessage ({}).size (), 0x5A);
    Bytes = EncodeMessage (Answer);
    break;
  case GarbageKind::Noise: {
    constexpr UINT8 UnknownControl[] = {0x7F, 0x00};
    Bytes = EncodeFrame (FrameKind::Control, UnknownControl);
    constexpr UINT8 Stray[] = {0xA0, 0xAA, 0xA0, 0x00, 0xA0, 0xA1};
    Bytes.insert (Bytes.end (), std::begin (Stray), std::end (Stray));
    return Bytes;
  }
  }
  return EncodeFrame (FrameKind::Message, Bytes);
}

/// What Get Device ID answers.
std::vector<UINT8>
IdentifyDevice (const IpmiMessage &Request)
{
  if (!Request.Data.empty ()) {
    return {CompletionDataLengthInvalid};
  }
  std::vector<UINT8> Answer = {CompletionNormal};
  Answer.insert (Answer.end (), std::begin (DeviceId), std::end (DeviceId));
  return Answer;
}

} // namespace

std::vector<UINT8>
Bmc::Connect ()
{
  Held.clear ();
  constexpr UINT8 Version[] = {CONTROL_VERSION, FRAME_VERSION};
  return EncodeFrame (FrameKind::Control, Version);
}

std::vector<UINT8>
Bmc::Take (const Frame &Frame)
{
  const auto Request =
      Frame.Kind == FrameKind::Message ? DecodeMessage (Frame.Bytes) : std::nullopt;
  if (!IsRequest (Request)) {
    return {};
  }
  const IpmiMessage Response = Answer (*Request);
  std::vector<UINT8> Bytes = Release ();
  std::vector<UINT8> Last = EncodeFrame (FrameKind::Message, EncodeMessage (Response));
  switch (Mode.Kind) {
  case BmcModeKind::Normal:
  case BmcModeKind::Refuse:
    break;
  case BmcModeKind::Mute:
    return {};
  case BmcModeKind::Late:
    Held = std::exchange (Last, {});
    break;
  case BmcModeKind::Garbage:
    Last = SpoiledFrame (Response, Mode.Garbage);
    break;
  }
  Bytes.insert (Bytes.end (), Last.begin (), Last.end ());
  return Bytes;
}

std::vector<UINT8>
Bmc::Release ()
{
  return std::exchange (Held, {});
}

IpmiMessage
Bmc::Answer (const IpmiMessage &Request)
{
  IpmiMessage Response = Request;
  Response.NetFunction |= 1;
  if (Mode.Kind == BmcModeKind::Refuse) {
    Response.Data = {Mode.CompletionCode};
  } else if (IsEvent (Request)) {
    Response.Data = {JudgeEvent (Request)};
  } else if (Request.NetFunction == APPLICATION_NET_FUNCTION &&
             Request.Command == GET_DEVICE_ID_COMMAND) {
    Response.Data = IdentifyDevice (Request);
  } else {
    Response.Data = {CompletionInvalidCommand};
  }
  if (const UINT8 Code = Response.Data.front (); Code != CompletionNormal) {
    TellRefusal (Request, Code);
  }
  return Response;
}

CompletionCode
Bmc::JudgeEvent (const IpmiMessage &Request)
{
  if (Request.Lun != REDFISH_EVENT_LUN) {
    return CompletionInvalidForLun;
  }
  const auto Fault = FindEventFault (Request.Data);
  return Fault ? Fault->Answer : TakeEvent (Request.Data);
}
