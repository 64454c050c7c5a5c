#include "Summary.h"

#include "Event.h"

void
Summary::Add (const Outcome &Outcome)
{
  Records += Outcome.File != nullptr ? 1 : 0;
  if (!Outcome.Fault.empty ()) {
    ++Faults;
  } else if (Outcome.Dropped) {
    ++Dropped;
    ++ByReason[Outcome.Dropped->Code];
  } else {
    ++Events;
  }
  for (const BmcRequest &Request : Outcome.Events) {
    const Event Event = DecodeEvent (Request.Data);
    ++ByKind[{Event.ErrorClass, Event.Severity}];
    ++ByDevice[Event.DeviceId];
  }
}
